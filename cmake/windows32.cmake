# 32-bit Windows with Debian's cross compiler.
set(CMAKE_SYSTEM_PROCESSOR i686)
# Doubles as on Linux: computed in their own width, not in that of the x87 stack. Callers built with other compilers
# keep the stack aligned to 4 bytes only.
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse -mstackrealign")
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)
