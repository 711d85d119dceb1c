# 64 bits, plain char unsigned.
set(zel_processor aarch64)
set(zel_triplet aarch64-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
