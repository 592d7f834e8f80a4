# zel_header_library(<package> <target> <folder>): a header-only library. A cross build uses the headers of the building
# machine, but only this folder: the system's other headers are for another target. So does a build whose package names
# no target.
function(zel_header_library package target folder)
    if(NOT CMAKE_CROSSCOMPILING)
        find_package(${package} REQUIRED)
        if(TARGET ${target})
            set_target_properties(${target} PROPERTIES IMPORTED_GLOBAL TRUE)
            return()
        endif()
    endif()
    find_path(${package}_PARENT ${folder} PATHS /usr/include /usr/local/include NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    set(include ${PROJECT_BINARY_DIR}/header_libraries/${package})
    file(MAKE_DIRECTORY ${include})
    file(CREATE_LINK ${${package}_PARENT}/${folder} ${include}/${folder} SYMBOLIC)
    add_library(${target} INTERFACE IMPORTED GLOBAL)
    target_include_directories(${target} SYSTEM INTERFACE ${include})
endfunction()
