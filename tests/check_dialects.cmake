# Fails unless the public headers are right in each dialect that they promise, by every compiler that
# is there: the C headers, each alone, in C99, C11, C17, C++17 and C++20; the C++ headers in C++20. Clang
# reads them a second time as the compiler of Visual Studio does. C_COMPILER and CXX_COMPILER are those
# of the build, C_FLAGS and CXX_FLAGS its flags; with OTHERS gcc and clang are looked for besides.
file(GLOB c_headers RELATIVE ${SOURCE}/include ${SOURCE}/include/zelutils/*.h)
file(GLOB cxx_headers RELATIVE ${SOURCE}/include ${SOURCE}/include/zelutils/*.hpp)
list(APPEND c_headers zelhost/zelhost.h)
list(APPEND cxx_headers zelhost/host.h zelutils/session.hpp)

set(c_units "")
set(cxx_units "")
foreach(header IN LISTS c_headers)
  string(MAKE_C_IDENTIFIER ${header} stem)
  file(WRITE ${FOLDER}/${stem}.c "#include <${header}>\ntypedef int ${stem}_stands_alone;\n")
  list(APPEND c_units ${FOLDER}/${stem}.c)
endforeach()
# Each of them alone is compiled in the build; together they are quicker.
file(WRITE ${FOLDER}/all.cpp "")
foreach(header IN LISTS cxx_headers)
  file(APPEND ${FOLDER}/all.cpp "#include <${header}>\n")
endforeach()
set(cxx_units ${FOLDER}/all.cpp)

# check(LANGUAGE DIALECT UNITS COMPILER [FLAG...])
function(check language dialect units compiler)
  execute_process(
    COMMAND ${compiler} ${ARGN} -x ${language} -std=${dialect} -fsyntax-only
      -Wall -Wextra -Wpedantic -Werror -I${SOURCE}/include -I${SOURCE}/host ${${units}}
    ERROR_VARIABLE said RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(SEND_ERROR "${dialect}, ${compiler} ${ARGN}: ${status}\n${said}")
  endif()
endfunction()

function(check_all c_compiler cxx_compiler)
  message("checked: ${c_compiler} ${cxx_compiler} ${ARGN}")
  foreach(dialect IN ITEMS c99 c11 c17)
    check(c ${dialect} c_units ${c_compiler} ${c_flags} ${ARGN})
  endforeach()
  foreach(dialect IN ITEMS c++17 c++20)
    check(c++ ${dialect} c_units ${cxx_compiler} ${cxx_flags} ${ARGN})
  endforeach()
endfunction()

separate_arguments(c_flags NATIVE_COMMAND "${C_FLAGS}")
separate_arguments(cxx_flags NATIVE_COMMAND "${CXX_FLAGS}")
check_all(${C_COMPILER} ${CXX_COMPILER})
check(c++ c++20 cxx_units ${CXX_COMPILER} ${cxx_flags})
set(c_flags "")
set(cxx_flags "")
if(NOT OTHERS)
  return()
endif()

find_program(GCC gcc)
find_program(GXX g++)
find_program(CLANG clang)
find_program(CLANGXX clang++)
if(GXX)
  check_all(${GCC} ${GXX})
  check(c++ c++20 cxx_units ${GXX})
endif()
if(CLANGXX)
  check_all(${CLANG} ${CLANGXX})
  check(c++ c++20 cxx_units ${CLANGXX})
  set(visual -fms-compatibility -fms-compatibility-version=19.29 -fms-extensions -fdelayed-template-parsing)
  foreach(target IN ITEMS x86_64 i686)
    # Freestanding: the compiler's own <stdint.h> and its like serve, those of the SDK are not there.
    check_all(${CLANG} ${CLANGXX} --target=${target}-pc-windows-msvc -ffreestanding ${visual})
  endforeach()
  # With this system's standard library, which asks for names that are withheld then.
  check(c++ c++20 cxx_units ${CLANGXX} ${visual} -D__STRICT_ANSI__
    -D__GCC_ATOMIC_TEST_AND_SET_TRUEVAL=1 -D__GCC_ATOMIC_POINTER_LOCK_FREE=2)
else()
  message("not run: clang is not there: its dialects, and that of Visual Studio, are not checked")
endif()
