# 64-bit Windows.
set(zel_processor x86_64)
set(zel_wine wine64.sh)
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)
