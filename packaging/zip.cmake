# Packs what CPack has laid out into a zip file: sorted, without times but those that were set, owners and modes, so that
# the same files give the same bytes.
set(archive ${CPACK_PACKAGE_DIRECTORY}/${CPACK_PACKAGE_FILE_NAME}.zip)
execute_process(COMMAND find ${CPACK_TEMPORARY_DIRECTORY} -exec touch -d @$ENV{SOURCE_DATE_EPOCH} {} +
    COMMAND_ERROR_IS_FATAL ANY)
get_filename_component(folder ${CPACK_TEMPORARY_DIRECTORY} DIRECTORY)
get_filename_component(name ${CPACK_TEMPORARY_DIRECTORY} NAME)
file(REMOVE ${archive})
execute_process(
    COMMAND find ${name} -type f
    COMMAND ${CMAKE_COMMAND} -E env LC_ALL=C sort
    COMMAND zip -X -q -@ ${archive}
    WORKING_DIRECTORY ${folder}
    COMMAND_ERROR_IS_FATAL ANY)
set(CPACK_EXTERNAL_BUILT_PACKAGES ${archive})
