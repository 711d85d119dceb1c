# The options of the build, each with its default; README.md lists them. A project on top of this
# one builds the library and its host alone, and is asked for nothing but a compiler.
option(ZEL_TESTS "Build the tests; they need GoogleTest" ${PROJECT_IS_TOP_LEVEL})
option(ZEL_TOOL "Build zelpos, the command line" ${PROJECT_IS_TOP_LEVEL})
option(ZEL_EXAMPLES "Build the examples" ${PROJECT_IS_TOP_LEVEL})
option(ZEL_INSTALL "Make the rules that install and package" ${PROJECT_IS_TOP_LEVEL})
option(ZEL_BENCH "Build the benchmarks; they need Google Benchmark and the libraries compared" OFF)
option(ZEL_FUZZ "Build the fuzzers; see fuzz/CMakeLists.txt" OFF)
option(ZEL_HARDENING "Harden the code against attacks; see docs/building.md for the cost" OFF)
option(ZEL_PORTABLE "Use standard C++ alone, not what the compiler knows besides" OFF)
option(ZEL_WERROR "Treat compiler warnings as errors" OFF)
set(ZEL_PYTHON_DIR "" CACHE STRING
  "Folder below the prefix for the Python package; empty: it is not installed")
set(ZEL_SANITIZE "" CACHE STRING
  "Sanitizers for all code, a comma-separated list as -fsanitize= takes it")
set(ZEL_GTEST_SOURCE_DIR "" CACHE PATH
  "GoogleTest's sources, built with the project's own flags; empty: the installed library")

# CTest's own switch counts as well.
if(DEFINED BUILD_TESTING AND NOT BUILD_TESTING)
  set(ZEL_TESTS OFF)
endif()
# The tool and the examples are among what is tested.
if(ZEL_TESTS)
  set(ZEL_TOOL ON)
  set(ZEL_EXAMPLES ON)
endif()
