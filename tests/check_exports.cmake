# Fails unless LIBRARY exports exactly the library's three entry points under their plain names.
# NM reads an ELF library, OBJDUMP a Windows one.
set(expected ZELUtilsGetVersion ZELUtilsInitialize ZELUtilsTerminate)

if(LIBRARY MATCHES "\\.dll$")
  execute_process(
    COMMAND ${OBJDUMP} -p ${LIBRARY} OUTPUT_VARIABLE listing COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX REPLACE ".*\n\\[Ordinal/Name Pointer\\] Table[^\n]*\n" "" listing "${listing}")
  string(REGEX REPLACE "\n\n.*" "" listing "${listing}")
  string(REGEX REPLACE "\t\\[[^\n]*\\] " "" listing "${listing}")
else()
  execute_process(
    COMMAND ${NM} --dynamic --defined-only --format=posix ${LIBRARY}
    OUTPUT_VARIABLE listing COMMAND_ERROR_IS_FATAL ANY)
endif()

string(REGEX MATCHALL "[^\n]+" exported "${listing}")
list(TRANSFORM exported REPLACE " .*" "")
list(SORT exported)
if(NOT exported STREQUAL expected)
  message(FATAL_ERROR "exported: ${exported}\nexpected: ${expected}")
endif()
message(STATUS "exported: ${exported}")
