# Runs PROGRAM, which was made from the blocks of PAGE, and compares what it prints with the page's
# block "output".
file(READ ${PAGE} text)
string(FIND "${text}" "\n```output\n" at)
math(EXPR at "${at} + 11")
string(SUBSTRING "${text}" ${at} -1 text)
string(FIND "${text}" "```" end)
string(SUBSTRING "${text}" 0 ${end} expected)

execute_process(
  COMMAND ${EMULATOR} ${PROGRAM} OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
string(REPLACE "\r" "" output "${output}")
if(NOT output STREQUAL expected)
  message(FATAL_ERROR "${PAGE} says\n${expected}and its program\n${output}")
endif()
