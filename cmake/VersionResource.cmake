# zel_version_resource(<target> <file> <description>): what Windows shows of the file that the target makes. Elsewhere
# files have nothing of the kind.
function(zel_version_resource target file description)
    if(NOT WIN32)
        return()
    endif()
    get_target_property(kind ${target} TYPE)
    set(file_type 2)  # a DLL
    if(kind STREQUAL EXECUTABLE)
        set(file_type 1)
    endif()
    set(source ${CMAKE_CURRENT_BINARY_DIR}/${target}.rc)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/version.rc.in ${source} @ONLY)
    # A target of its own: the resource compiler does not know the others' options.
    add_library(${target}_resource OBJECT ${source})
    target_sources(${target} PRIVATE $<TARGET_OBJECTS:${target}_resource>)
endfunction()
