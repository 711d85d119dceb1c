# Runs a test program with the checking layer in place of the library: every test must pass as
# without it, and only those that break the contract on purpose may lead to findings, which are
# listed in EXPECTED: a regular expression a line, for the names of a test and of a rule.
#   PROGRAM, EMULATOR, LAYER, EXPECTED, LOG, CHECK (what ZELUTILS_CHECK is set to), FILTER
set(ENV{ZEL_TEST_LIBRARY} ${LAYER})
set(ENV{ZELUTILS_CHECK} "${CHECK}")
execute_process(
  COMMAND ${EMULATOR} ${PROGRAM} "--gtest_filter=${FILTER}"
  OUTPUT_FILE ${LOG} ERROR_FILE ${LOG} RESULT_VARIABLE status)
file(STRINGS ${LOG} lines REGEX "^\\[ RUN |^zelutils-check: |^\\[  FAILED|^\\[  PASSED")
set(test "")
set(found "")
foreach(line IN LISTS lines)
  if(line MATCHES "^\\[ RUN +\\] ([^\r]+)")
    set(test ${CMAKE_MATCH_1})
  elseif(line MATCHES "^zelutils-check: ([a-z-]+)")
    list(APPEND found "${test} ${CMAKE_MATCH_1}")
  endif()
endforeach()
list(REMOVE_DUPLICATES found)
list(SORT found)

file(STRINGS ${EXPECTED} expected REGEX "^[^#]")
set(unexpected ${found})
foreach(line IN LISTS expected)
  list(FILTER unexpected EXCLUDE REGEX "^${line}$")
endforeach()
if(NOT status EQUAL 0)
  file(READ ${LOG} log)
  message("${log}")
  message(FATAL_ERROR "the tests fail with the layer in place of the library: ${status}")
endif()
if(unexpected)
  list(JOIN unexpected "\n  " text)
  message(FATAL_ERROR "findings that are not expected (${LOG} has them in full):\n  ${text}")
endif()
list(LENGTH found count)
message("${count} expected findings, no other")
