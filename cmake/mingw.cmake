# Cross-compiles for Windows with Debian's g++-mingw-w64-PROCESSOR-posix. The programs and the library
# carry the compiler's runtime in them and need nothing but the system's own DLLs. A toolchain file
# names the processor and the script that runs programs under Wine, and includes this one.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR ${zel_processor})

set(CMAKE_C_COMPILER ${zel_processor}-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER ${zel_processor}-w64-mingw32-g++-posix)

set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")

# Programs built here run under Wine, where that is installed.
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../scripts/${zel_wine})

set(CMAKE_FIND_ROOT_PATH /usr/${zel_processor}-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
