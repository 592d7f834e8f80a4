# The sources are those that this port lies in.
cmake_path(SET SOURCE_PATH NORMALIZE "${CURRENT_PORT_DIR}/../../..")

# Programs load the provider at run time, so there is no static build.
vcpkg_check_linkage(ONLY_DYNAMIC_LIBRARY)
vcpkg_check_features(OUT_FEATURE_OPTIONS options FEATURES command ZEL_BUILD_COMMAND)
if(VCPKG_CROSSCOMPILING)
    list(APPEND options "-DZEL_HOST_BIN=${CURRENT_HOST_INSTALLED_DIR}/tools/zel")
endif()
vcpkg_cmake_configure(SOURCE_PATH "${SOURCE_PATH}" OPTIONS -DZEL_BUILD_TESTS=OFF ${options})
vcpkg_cmake_install()

vcpkg_cmake_config_fixup(CONFIG_PATH lib/cmake/zel)
vcpkg_fixup_pkgconfig()
if("command" IN_LIST FEATURES)
    vcpkg_copy_tools(TOOL_NAMES zel AUTO_CLEAN)
endif()
file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/debug/include" "${CURRENT_PACKAGES_DIR}/debug/share")
file(INSTALL "${CURRENT_PORT_DIR}/usage" DESTINATION "${CURRENT_PACKAGES_DIR}/share/${PORT}")
vcpkg_install_copyright(FILE_LIST "${SOURCE_PATH}/packaging/copyright")
