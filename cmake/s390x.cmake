# 64 bits, the most significant byte first.
set(zel_processor s390x)
set(zel_triplet s390x-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
