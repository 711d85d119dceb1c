# Fails unless LIBRARY exports exactly the functions that HEADER declares, under their plain names,
# and, on Windows, imports nothing but the system's own DLLs. NM reads an ELF library, OBJDUMP a
# Windows one.
file(READ ${HEADER} header)
string(REGEX REPLACE "/[*][^*]*[*]+([^/*][^*]*[*]+)*/" "" header "${header}")
string(REGEX REPLACE "#define[^\n]*(\\\\\n[^\n]*)*" "" header "${header}")
# A function's name stands before its parameters, a type's name in parentheses of its own.
string(REGEX MATCHALL "[ *]ZEL[A-Za-z]+[(]" expected "${header}")
list(TRANSFORM expected REPLACE "[^A-Za-z]" "")
list(SORT expected)
if(NOT expected)
  message(FATAL_ERROR "${HEADER} declares no function")
endif()
set(system_dlls advapi32.dll kernel32.dll msvcrt.dll)

if(LIBRARY MATCHES "\\.dll$")
  execute_process(
    COMMAND ${OBJDUMP} -p ${LIBRARY} OUTPUT_VARIABLE dump COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX REPLACE ".*\n\\[Ordinal/Name Pointer\\] Table[^\n]*\n" "" listing "${dump}")
  string(REGEX REPLACE "\n\n.*" "" listing "${listing}")
  string(REGEX REPLACE "\t\\[[^\n]*\\] " "" listing "${listing}")

  string(REGEX MATCHALL "DLL Name: [^\n]+" imported "${dump}")
  list(TRANSFORM imported REPLACE "DLL Name: " "")
  list(TRANSFORM imported TOLOWER)
  list(SORT imported)
  message(STATUS "imported from: ${imported}")
  set(foreign ${imported})
  list(REMOVE_ITEM foreign ${system_dlls})
  if(foreign OR NOT imported)
    message(FATAL_ERROR "imported from: ${imported}\nallowed: ${system_dlls}")
  endif()
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
