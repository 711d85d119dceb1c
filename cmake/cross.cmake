# Cross-compiles for Linux on another processor with Debian's g++-TRIPLET; what is built runs under
# qemu-user. A toolchain file names the processor and the triplet and includes this one.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${zel_processor})

set(CMAKE_C_COMPILER ${zel_triplet}-gcc)
set(CMAKE_CXX_COMPILER ${zel_triplet}-g++)

# This warning depends on how the compiler inlines for the processor, and is wrong here about
# std::variant. The other builds have it.
set(CMAKE_CXX_FLAGS_INIT "-Wno-maybe-uninitialized")

set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../scripts/emulate.sh)

set(CMAKE_FIND_ROOT_PATH /usr/${zel_triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
