# Between installing to CPack's folders and packing them: what Debian packages must have besides, and what makes the same
# files give the same bytes.
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} key)
    set(package ${CPACK_DEBIAN_${key}_PACKAGE_NAME})
    set(root ${CPACK_TEMPORARY_DIRECTORY}/${component}/usr)
    set(pages ${root}/share/doc/${package})
    file(COPY ${CPACK_ZEL_PACKAGING}/copyright DESTINATION ${pages})
    file(WRITE ${pages}/changelog
        "zel (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium\n\n"
        "  * CHANGELOG.md in libzel-doc tells what changed.\n\n"
        " -- ${CPACK_PACKAGE_CONTACT}  ${date}\n")
    if(EXISTS ${CPACK_ZEL_PACKAGING}/overrides/${package})
        file(COPY ${CPACK_ZEL_PACKAGING}/overrides/${package} DESTINATION ${root}/share/lintian/overrides)
    endif()
    file(GLOB_RECURSE binaries ${root}/bin/* ${root}/lib/*.so ${root}/lib/*.so.*.*)
    foreach(binary IN LISTS binaries)
        if(NOT IS_SYMLINK ${binary})
            execute_process(COMMAND strip --strip-unneeded --remove-section=.comment --remove-section=.note ${binary}
                COMMAND_ERROR_IS_FATAL ANY)
        endif()
    endforeach()
    # No list says since when each symbol is there: as the shlibs file does, it asks for this version.
    file(GLOB_RECURSE libraries ${root}/lib/*.so.*.*)
    if(libraries)
        list(TRANSFORM libraries PREPEND -e)
        execute_process(COMMAND dpkg-gensymbols -q -p${package} -v${CPACK_PACKAGE_VERSION}
            -P${CPACK_TEMPORARY_DIRECTORY}/${component} ${libraries} -O${CPACK_ZEL_SYMBOLS} COMMAND_ERROR_IS_FATAL ANY)
    endif()
    file(GLOB compressed ${root}/share/man/man*/* ${pages}/changelog)
    execute_process(COMMAND gzip -9n ${compressed} COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND chmod -R u=rwX,go=rX ${root} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
execute_process(COMMAND find ${CPACK_TEMPORARY_DIRECTORY} -exec touch -h -d @$ENV{SOURCE_DATE_EPOCH} {} +
    COMMAND_ERROR_IS_FATAL ANY)
