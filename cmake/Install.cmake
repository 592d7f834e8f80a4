# What `cmake --install` installs: headers, libraries, a CMake package and a pkg-config file; with the command that, its
# manual page and completion, and the sample dictionary's image next to its provider. The installed tree can be moved.
include(CMakePackageConfigHelpers)

set(command)
if(ZEL_BUILD_COMMAND)
    set(command zel_command)
endif()
install(TARGETS zel crush32 ${command} EXPORT zel_targets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS zeldata
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
if(TARGET zeldata_image)
    install(FILES $<TARGET_FILE_DIR:zeldata>/zeldata.img
        DESTINATION $<IF:$<PLATFORM_ID:Windows>,${CMAKE_INSTALL_BINDIR},${CMAKE_INSTALL_LIBDIR}>)
endif()
if(TARGET zel_pages)
    install(FILES ${PROJECT_BINARY_DIR}/tools/zel.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
    install(FILES ${PROJECT_BINARY_DIR}/tools/zel.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME zel)
    install(FILES ${PROJECT_BINARY_DIR}/tools/zel.zsh
        DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions RENAME _zel)
    install(FILES ${PROJECT_BINARY_DIR}/tools/zel.fish
        DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
endif()
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zel FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")

if(ZEL_MSVC_LIBRARY)
    install(FILES ${ZEL_MSVC_LIBRARY} DESTINATION ${CMAKE_INSTALL_LIBDIR})
endif()

set(package ${CMAKE_INSTALL_LIBDIR}/cmake/zel)
install(EXPORT zel_targets NAMESPACE zel:: DESTINATION ${package})
configure_package_config_file(cmake/zelConfig.cmake.in ${PROJECT_BINARY_DIR}/zelConfig.cmake
    INSTALL_DESTINATION ${package})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zelConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zelConfig.cmake ${PROJECT_BINARY_DIR}/zelConfigVersion.cmake
    cmake/ZelDictionary.cmake DESTINATION ${package})

file(RELATIVE_PATH ZEL_PREFIX_FROM_PKGCONFIG /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(cmake/zel.pc.in ${PROJECT_BINARY_DIR}/zel.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zel.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
