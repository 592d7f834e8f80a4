# Packages of what is installed, by CPack; script/package runs it. On Linux each component is a Debian package, and
# packaging/debian.cmake adds what those must have besides. For Windows everything is one zip file.
set(CPACK_PACKAGE_NAME zel)
set(CPACK_PACKAGE_VENDOR ZEL)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each has its own
file(STRINGS packaging/copyright contact REGEX ^Upstream-Contact:)
string(REPLACE "Upstream-Contact: " "" CPACK_PACKAGE_CONTACT ${contact})
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_ZEL_PACKAGING ${PROJECT_SOURCE_DIR}/packaging)

if(WIN32)
    set(CPACK_GENERATOR External)
    set(CPACK_EXTERNAL_ENABLE_STAGING ON)
    set(CPACK_MONOLITHIC_INSTALL ON)
    set(CPACK_EXTERNAL_PACKAGE_SCRIPT ${PROJECT_SOURCE_DIR}/packaging/zip.cmake)
    set(CPACK_STRIP_FILES ON)
    set(CPACK_PACKAGE_FILE_NAME zel-${PROJECT_VERSION}-windows${ZEL_WIDTH})
    include(CPack)
    return()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/debian.cmake)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE zel)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY >=)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_COMPONENTS_ALL)

# zel_package(<component> <package> <section> <any or all> <title> <description>
#     [DEPENDS ...] [RECOMMENDS ...] [SUGGESTS ...] [CONTROL <files>...])
# Packages of ours are named without a version and need the same one.
function(zel_package component package section architecture title description)
    cmake_parse_arguments(PARSE_ARGV 6 arg "" "" "DEPENDS;RECOMMENDS;SUGGESTS;CONTROL")
    string(TOUPPER ${component} key)
    list(TRANSFORM arg_DEPENDS REPLACE "^((lib)?zel[a-z0-9-]*)$" "\\1 (= ${PROJECT_VERSION})")
    list(TRANSFORM arg_CONTROL PREPEND ${PROJECT_SOURCE_DIR}/packaging/)
    set(CPACK_COMPONENT_${key}_DESCRIPTION "${title}\n${description}" PARENT_SCOPE)
    set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${package} PARENT_SCOPE)
    set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${section} PARENT_SCOPE)
    set(CPACK_DEBIAN_${key}_PACKAGE_CONTROL_EXTRA ${arg_CONTROL} PARENT_SCOPE)
    foreach(relation DEPENDS RECOMMENDS SUGGESTS)
        list(JOIN arg_${relation} ", " packages)
        set(CPACK_DEBIAN_${key}_PACKAGE_${relation} ${packages} PARENT_SCOPE)
    endforeach()
    if(architecture STREQUAL all)
        set(CPACK_DEBIAN_${key}_PACKAGE_ARCHITECTURE all PARENT_SCOPE)
    else()
        set(CPACK_DEBIAN_${key}_PACKAGE_SHLIBDEPS ON PARENT_SCOPE)
    endif()
    list(APPEND CPACK_COMPONENTS_ALL ${component})
    set(CPACK_COMPONENTS_ALL ${CPACK_COMPONENTS_ALL} PARENT_SCOPE)
endfunction()

# CPack calls ldconfig in these two scripts, unless it is given others: of those that do not exist it takes none.
set(ldconfig triggers none/postinst none/postrm)
zel_package(runtime libzel0 libs any "messages of the ZEL protocol (library)"
"Builds, packs, validates and unpacks the binary messages that programs
exchange with a ZEL router. Their fields and layouts come at run time from
a dictionary, which a provider serves."
    RECOMMENDS libzeldata CONTROL ${ldconfig})
set(CPACK_ZEL_SYMBOLS ${PROJECT_BINARY_DIR}/symbols) # packaging/debian.cmake writes it
list(APPEND CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CPACK_ZEL_SYMBOLS})
zel_package(provider libzeldata libs any "messages of the ZEL protocol (dictionary provider)"
"Serves the image of a dictionary to all programs that use libzel0: the one
that ZELDATA_IMAGE names, else that of the sample dictionary. A site with a
provider of its own does not need it."
    CONTROL ${ldconfig})
zel_package(development libzel-dev libdevel any "messages of the ZEL protocol (development files)"
"Headers for C and C++, examples, and what CMake and pkg-config need to
build programs with libzel0."
    DEPENDS libzel0 libzeldata RECOMMENDS zel-tools SUGGESTS libzel-doc)
zel_package(tools zel-tools net any "command for ZEL messages, captures and dictionaries"
"Shows, selects, compares and writes messages; builds, checks and compares
dictionaries; converts values; shows messages in Wireshark and tshark."
    DEPENDS libzel0 libzeldata SUGGESTS jq "wireshark | tshark")
zel_package(documentation libzel-doc doc all "messages of the ZEL protocol (documentation)"
"Pages on programs, dictionaries, the command, the bytes of a message and
each report, and JSON schemas of dictionary sources and of messages.")
zel_package(python python3-zel python all "ZEL captures as NumPy arrays and pandas data frames"
"Reads and writes captures of ZEL messages, message by message or type by
type, in one process or on a cluster."
    DEPENDS "python3 (>= 3.9)" python3-numpy libzel0 libzeldata SUGGESTS python3-pandas python3-dask python3-distributed
    CONTROL python3-zel/postinst python3-zel/prerm)
include(CPack)
