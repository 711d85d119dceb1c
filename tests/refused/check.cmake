# Compiles each group of client_misuse.cpp, which must fail: for each line with an "expect:", the
# compiler has to name the line and to say the text.
file(STRINGS ${SOURCE} lines)
separate_arguments(flags NATIVE_COMMAND "${CXX_FLAGS}")
if(CXX_COMPILER MATCHES "clang")
  set(no_limit -ferror-limit=0)
endif()
set(number 0)
foreach(line IN LISTS lines)
  math(EXPR number "${number} + 1")
  if(line MATCHES "^#(el)?if GROUP == ([0-9]+)")
    execute_process(
      COMMAND ${CXX_COMPILER} ${flags} -std=c++20 -fsyntax-only ${no_limit} -I${INCLUDE}
        -DGROUP=${CMAKE_MATCH_2} ${SOURCE}
      ERROR_VARIABLE said RESULT_VARIABLE status)
    if(status EQUAL 0)
      message(SEND_ERROR "group ${CMAKE_MATCH_2} compiles")
    endif()
  elseif(line MATCHES "// expect: (.*)$")
    string(FIND "${said}" "${CMAKE_MATCH_1}" found)
    string(FIND "${said}" "client_misuse.cpp:${number}:" place)
    if(found EQUAL -1 OR place EQUAL -1)
      message(SEND_ERROR "line ${number} is not refused as expected: ${line}")
    endif()
  endif()
endforeach()
