# Installs the build in BUILD to a prefix of its own, and there builds and runs projects that use the
# installation: the C++ example of the README, the installed examples with their tests, and what the
# tutorial says. Then it uninstalls, and nothing may be left.
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
  string(APPEND C_FLAGS " -fsanitize=${SANITIZE} ${SANITIZE_C_LINK}")
  string(APPEND CXX_FLAGS " -fsanitize=${SANITIZE}")
endif()

# build(FOLDER TARGET...): builds the project in a folder as one that has the installation alone.
function(build folder)
  execute_process(
    COMMAND ${CMAKE_COMMAND} -S ${folder} -B ${folder}/build -G Ninja
      -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_C_COMPILER=${C_COMPILER}
      -DCMAKE_CXX_COMPILER=${CXX_COMPILER} -DCMAKE_C_FLAGS=${C_FLAGS} -DCMAKE_CXX_FLAGS=${CXX_FLAGS}
      -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
  execute_process(
    COMMAND ${CMAKE_COMMAND} --build ${folder}/build --target all ${ARGN}
    COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# The address sanitizer's own dlopen does not look where the program's run path says.
if(SANITIZE)
  file(GLOB_RECURSE library ${prefix}/*/libZELUtils.so)
  set(ENV{ZELUTILS_LIBRARY} ${library})
endif()

build(${consumer} check)

set(examples ${BUILD}/package/examples)
file(GLOB installed ${prefix}/share/doc/*/examples)
file(COPY ${installed}/ DESTINATION ${examples})
build(${examples})
execute_process(
  COMMAND ${CMAKE_CTEST_COMMAND} --test-dir ${examples}/build --output-on-failure --no-tests=error
  COMMAND_ERROR_IS_FATAL ANY)

# The tutorial. This system's Python cannot load a sanitized library or one for another system.
if(PYTHON)
  set(ENV{CC} ${C_COMPILER})
  set(ENV{CXX} ${CXX_COMPILER})
  set(ENV{CFLAGS} "${C_FLAGS}")
  set(ENV{CXXFLAGS} "${CXX_FLAGS}")
  set(options "")
  if(SANITIZE OR C_FLAGS MATCHES "-m32")
    set(options --without-python)
  endif()
  execute_process(
    COMMAND ${PYTHON} ${SOURCE}/tests/docs/tutorial.py ${SOURCE}/docs/tutorial.md
      ${BUILD}/package/tutorial ${prefix} ${options}
    COMMAND_ERROR_IS_FATAL ANY)
endif()

execute_process(
  COMMAND ${EMULATOR} ${prefix}/bin/${TOOL} --version
  COMMAND_ERROR_IS_FATAL ANY)

execute_process(
  COMMAND ${CMAKE_COMMAND} --build ${BUILD} --target uninstall
  OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
file(GLOB_RECURSE left ${prefix}/*)
if(left)
  message(FATAL_ERROR "left by the uninstallation: ${left}")
endif()
