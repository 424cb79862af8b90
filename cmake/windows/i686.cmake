set(processor i686)
include(${CMAKE_CURRENT_LIST_DIR}/toolchain.cmake)

# SSE2 for the same arithmetic as on 64 bits. Windows, and the compiler that 3ds Max is built with, keep the stack on
# multiples of 4 bytes only: whoever is called from there realigns it.
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse -mstackrealign")
