# What `cmake --install` installs, by the components that cmake/Package.cmake makes packages of. Paths are below the prefix,
# and the installed tree can be moved. Without the command there is no image and nothing else that the command writes.
#   runtime        what programs load              provider       the dictionary provider and the sample dictionary's image
#   development    what programs are built with    tools          the command, and what it wrote for shells, man, Wireshark
#   documentation  pages and schemas               python         the Python package, where ZEL_PYTHON_DIR says
include(CMakePackageConfigHelpers)
set(ZEL_PYTHON_DIR "" CACHE STRING "Folder below the prefix to install the Python package to; a wheel needs none")

set(package ${CMAKE_INSTALL_LIBDIR}/cmake/zel)
install(TARGETS zel crush32 EXPORT zel_targets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(TARGETS zeldata
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT provider
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT provider)

install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zel COMPONENT development
    FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")
if(ZEL_MSVC_LIBRARY)
    install(FILES ${ZEL_MSVC_LIBRARY} DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
endif()
configure_package_config_file(cmake/zelConfig.cmake.in ${PROJECT_BINARY_DIR}/zelConfig.cmake
    INSTALL_DESTINATION ${package})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zelConfigVersion.cmake COMPATIBILITY SameMinorVersion)
file(RELATIVE_PATH ZEL_PREFIX_FROM_PKGCONFIG /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(cmake/zel.pc.in ${PROJECT_BINARY_DIR}/zel.pc @ONLY)
install(EXPORT zel_targets NAMESPACE zel:: DESTINATION ${package} COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/zelConfig.cmake ${PROJECT_BINARY_DIR}/zelConfigVersion.cmake
    cmake/ZelDictionary.cmake DESTINATION ${package} COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/zel.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development PATTERN .clang-tidy EXCLUDE)

# Links between pages work as in the source tree.
install(FILES README.md CHANGELOG.md SECURITY.md packaging/copyright DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)

if(ZEL_PYTHON_DIR)
    install(DIRECTORY python/zel DESTINATION ${ZEL_PYTHON_DIR} COMPONENT python
        FILES_MATCHING PATTERN "*.py" PATTERN py.typed PATTERN __pycache__ EXCLUDE)
    # What tells Python the version of what is installed.
    file(CONFIGURE OUTPUT python/METADATA CONTENT "Metadata-Version: 2.1\nName: zel\nVersion: @PROJECT_VERSION@\n")
    install(FILES ${PROJECT_BINARY_DIR}/python/METADATA
        DESTINATION ${ZEL_PYTHON_DIR}/zel-${PROJECT_VERSION}.dist-info COMPONENT python)
endif()

if(TARGET zeldata_image)
    install(FILES $<TARGET_FILE_DIR:zeldata>/zeldata.img COMPONENT provider
        DESTINATION $<IF:$<PLATFORM_ID:Windows>,${CMAKE_INSTALL_BINDIR},${CMAKE_INSTALL_LIBDIR}>)
    install(FILES zeldata/sample.json DESTINATION ${CMAKE_INSTALL_DATADIR}/zel COMPONENT tools)
endif()
# Apart from the libraries' targets, so that those can be used without it.
if(ZEL_BUILD_COMMAND)
    install(TARGETS zel_command EXPORT zel_command_target DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
    install(EXPORT zel_command_target NAMESPACE zel:: DESTINATION ${package} COMPONENT tools)
endif()
if(TARGET zel_pages)
    install(FILES ${PROJECT_BINARY_DIR}/tools/zel.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
    install(FILES ${PROJECT_BINARY_DIR}/tools/zel.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME zel COMPONENT tools)
    install(FILES ${PROJECT_BINARY_DIR}/tools/zel.zsh
        DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions RENAME _zel COMPONENT tools)
    install(FILES ${PROJECT_BINARY_DIR}/tools/zel.fish
        DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT tools)
    install(FILES wireshark/installed.lua
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/wireshark/plugins RENAME zel.lua COMPONENT tools)
endif()

# All that is installed, and nothing else: packaging needs no tests.
add_custom_target(zel_installed DEPENDS zel crush32 zeldata)
foreach(target zel_command zel_pages zeldata_image zel_msvc_library)
    if(TARGET ${target})
        add_dependencies(zel_installed ${target})
    endif()
endforeach()
