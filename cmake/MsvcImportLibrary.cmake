# zel.lib, for programs built with Microsoft's compiler and linker or with clang in their place: made from the list of
# exports, which names every member as that compiler does.
find_program(ZEL_DLLTOOL NAMES llvm-dlltool llvm-dlltool-14)
if(ZEL_DLLTOOL)
    set(ZEL_MSVC_LIBRARY ${CMAKE_ARCHIVE_OUTPUT_DIRECTORY}/zel.lib)
    add_custom_command(
        OUTPUT ${ZEL_MSVC_LIBRARY}
        COMMAND ${ZEL_DLLTOOL} -m i386 -d ${PROJECT_SOURCE_DIR}/zel.def -l ${ZEL_MSVC_LIBRARY}
        DEPENDS ${PROJECT_SOURCE_DIR}/zel.def
        VERBATIM)
    add_custom_target(zel_msvc_library ALL DEPENDS ${ZEL_MSVC_LIBRARY})
else()
    message(STATUS "zel.lib is not made: llvm-dlltool is missing")
endif()
