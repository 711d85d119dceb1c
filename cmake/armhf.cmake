# 32 bits, plain char unsigned.
set(zel_processor armv7l)
set(zel_triplet arm-linux-gnueabihf)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
# Not told each time that a rule of passing arguments changed long ago.
string(APPEND CMAKE_CXX_FLAGS_INIT " -Wno-psabi")
