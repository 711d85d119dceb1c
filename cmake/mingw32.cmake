# 32-bit Windows.
set(zel_processor i686)
set(zel_wine wine.sh)
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)
