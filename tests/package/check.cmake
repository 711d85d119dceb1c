# Installs the build in BUILD to a prefix of its own, and there builds and runs a project that uses
# the installation: the program is the C++ example of the README.
set(prefix ${BUILD}/package/prefix)
set(consumer ${BUILD}/package/consumer)
file(REMOVE_RECURSE ${BUILD}/package)

execute_process(
  COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${prefix}
  OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)

file(READ ${SOURCE}/README.md readme)
if(NOT readme MATCHES "\n```cpp\n(.*)")
  message(FATAL_ERROR "README.md shows no C++ example")
endif()
string(REGEX REPLACE "\n```.*" "\n" program "${CMAKE_MATCH_1}")
file(WRITE ${consumer}/main.cpp "${program}")
file(COPY ${SOURCE}/tests/package/CMakeLists.txt ${SOURCE}/tests/header_c99_test.c
  DESTINATION ${consumer})

if(SANITIZE)
  string(APPEND C_FLAGS " -fsanitize=${SANITIZE}")
  string(APPEND CXX_FLAGS " -fsanitize=${SANITIZE}")
endif()
execute_process(
  COMMAND ${CMAKE_COMMAND} -S ${consumer} -B ${consumer}/build -G Ninja
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_C_COMPILER=${C_COMPILER}
    -DCMAKE_CXX_COMPILER=${CXX_COMPILER} -DCMAKE_C_FLAGS=${C_FLAGS} -DCMAKE_CXX_FLAGS=${CXX_FLAGS}
    -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}
  OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
execute_process(
  COMMAND ${CMAKE_COMMAND} --build ${consumer}/build --target all check
  COMMAND_ERROR_IS_FATAL ANY)
execute_process(
  COMMAND ${EMULATOR} ${prefix}/bin/${TOOL} --version
  COMMAND_ERROR_IS_FATAL ANY)
