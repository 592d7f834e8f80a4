# Windows of either width, for windows32.cmake and windows64.cmake; what is built runs under Wine where that is installed.
set(CMAKE_SYSTEM_NAME Windows)

set(triple ${CMAKE_SYSTEM_PROCESSOR}-w64-mingw32)
set(CMAKE_CXX_COMPILER ${triple}-g++-posix)
set(CMAKE_C_COMPILER ${triple}-gcc-posix)
set(CMAKE_RC_COMPILER ${triple}-windres)

# The compilers' run-time libraries go into each file.
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -static)
set(CMAKE_MODULE_LINKER_FLAGS_INIT -static)

set(CMAKE_FIND_ROOT_PATH /usr/${triple})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)

find_program(wine wine)
if(wine)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${wine})
endif()
set(ZLIB_LIBRARY ${CMAKE_FIND_ROOT_PATH}/lib/libz.a CACHE FILEPATH "zlib, without its DLL")
