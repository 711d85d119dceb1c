# 64 bits, plain char unsigned.
set(zel_processor riscv64)
set(zel_triplet riscv64-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
