# Fails unless BINARY, a program or a shared library, was built with the means of ZEL_HARDENING: all
# relocations are done and sealed before its code runs, the stack can hold no code, functions with
# buffers check for a smashed stack, and jumps land only where they may, where PROCESSOR can see to it.
execute_process(
  COMMAND ${READELF} --dynamic --program-headers --dyn-syms --wide ${BINARY}
  OUTPUT_VARIABLE headers COMMAND_ERROR_IS_FATAL ANY)
execute_process(
  COMMAND ${OBJDUMP} --disassemble --no-show-raw-insn ${BINARY}
  OUTPUT_VARIABLE code COMMAND_ERROR_IS_FATAL ANY)

set(missing "")
foreach(wanted IN ITEMS "GNU_RELRO" "FLAGS_1\\)[^\n]* NOW" "GNU_STACK [^\n]* RW " "DYN|Shared library"
    "UND __stack_chk_fail")
  if(NOT headers MATCHES "${wanted}")
    list(APPEND missing "${wanted}")
  endif()
endforeach()
set(wanted_code "")
if(PROCESSOR MATCHES "^(x86_64|AMD64|i[3-6]86)$")
  list(APPEND wanted_code "endbr(32|64)")
elseif(PROCESSOR STREQUAL "aarch64")
  list(APPEND wanted_code "paciasp" "bti")
endif()
foreach(wanted IN LISTS wanted_code)
  if(NOT code MATCHES "${wanted}")
    list(APPEND missing "${wanted}")
  endif()
endforeach()
if(missing)
  message(FATAL_ERROR "${BINARY} lacks: ${missing}")
endif()
