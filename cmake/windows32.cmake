# 32-bit Windows with Debian's cross compiler; what is built runs under Wine where that is installed.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)

set(CMAKE_CXX_COMPILER i686-w64-mingw32-g++-posix)
set(CMAKE_C_COMPILER i686-w64-mingw32-gcc-posix)
set(CMAKE_RC_COMPILER i686-w64-mingw32-windres)

# Doubles as on Linux: computed in their own width, not in that of the x87 stack. Callers built with other compilers
# keep the stack aligned to 4 bytes only.
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse -mstackrealign")
# The compilers' run-time libraries go into each file.
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -static)
set(CMAKE_MODULE_LINKER_FLAGS_INIT -static)

set(CMAKE_FIND_ROOT_PATH /usr/i686-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)

find_program(wine wine)
if(wine)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${wine})
endif()
set(ZLIB_LIBRARY ${CMAKE_FIND_ROOT_PATH}/lib/libz.a CACHE FILEPATH "zlib, without its DLL")
