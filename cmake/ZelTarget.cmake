# What every target of ours is built with.
set(ZEL_SANITIZE "" CACHE STRING "Sanitizers to build with, as -fsanitize= takes them")

function(zel_target target)
    target_compile_features(${target} PRIVATE cxx_std_20)
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wconversion -Wshadow -Wsign-conversion -Wold-style-cast -Wcast-align -Wpedantic -Werror)
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF
        POSITION_INDEPENDENT_CODE ON
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
    if(ZEL_SANITIZE)
        target_compile_options(${target} PRIVATE
            -fsanitize=${ZEL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
        target_link_options(${target} PRIVATE -fsanitize=${ZEL_SANITIZE})
    elseif(NOT WIN32)
        target_link_options(${target} PRIVATE -Wl,--no-undefined)
    endif()
endfunction()
