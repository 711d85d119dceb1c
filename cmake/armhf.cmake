# 32 bits, plain char unsigned.
set(zel_processor armv7l)
set(zel_triplet arm-linux-gnueabihf)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
