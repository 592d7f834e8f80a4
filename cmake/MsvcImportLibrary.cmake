# zel.lib, for programs built with Microsoft's compiler and linker or with clang in their place: made from the list of
# exports, which names every member as that compiler does.
set(ZEL_EXPORTS ${PROJECT_SOURCE_DIR}/zel${ZEL_WIDTH}.def)
set(ZEL_DLLTOOL_MACHINE i386)
if(ZEL_WIDTH EQUAL 64)
    set(ZEL_DLLTOOL_MACHINE i386:x86-64)
endif()
find_program(ZEL_DLLTOOL NAMES llvm-dlltool llvm-dlltool-14)
if(ZEL_DLLTOOL)
    set(ZEL_MSVC_LIBRARY ${CMAKE_ARCHIVE_OUTPUT_DIRECTORY}/zel.lib)
    add_custom_command(
        OUTPUT ${ZEL_MSVC_LIBRARY}
        COMMAND ${ZEL_DLLTOOL} -m ${ZEL_DLLTOOL_MACHINE} -d ${ZEL_EXPORTS} -l ${ZEL_MSVC_LIBRARY}
        DEPENDS ${ZEL_EXPORTS}
        VERBATIM)
    add_custom_target(zel_msvc_library ALL DEPENDS ${ZEL_MSVC_LIBRARY})
else()
    message(STATUS "zel.lib is not made: llvm-dlltool is missing")
endif()
