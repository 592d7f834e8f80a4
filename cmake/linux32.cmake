# 32-bit Linux on a 64-bit machine: the widths of 32-bit Windows, with sanitizers.
set(CMAKE_CXX_FLAGS_INIT "-m32 -msse2 -mfpmath=sse")
set(CMAKE_C_FLAGS_INIT -m32)
set(ZLIB_LIBRARY /usr/lib32/libz.so CACHE FILEPATH "zlib of this width")
