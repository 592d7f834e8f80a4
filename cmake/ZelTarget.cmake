# Settings of every target.
set(ZEL_SANITIZE "" CACHE STRING "Sanitizers to build with, as -fsanitize= takes them")

# Compiled again and again, only what changed is compiled: where the compiler cache is installed, it does the rest.
option(ZEL_COMPILER_CACHE "Use ccache if it is installed" OFF)
if(ZEL_COMPILER_CACHE)
    find_program(ZEL_CCACHE ccache)
    if(ZEL_CCACHE)
        set(CMAKE_CXX_COMPILER_LAUNCHER ${ZEL_CCACHE})
    endif()
endif()
# It knows no precompiled headers, and what they save it saves, too.
if(CMAKE_CXX_COMPILER_LAUNCHER MATCHES ccache)
    set(CMAKE_DISABLE_PRECOMPILE_HEADERS ON)
endif()

# Programs are linked to run at any address.
include(CheckPIESupported)
check_pie_supported()

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
    else()
        zel_harden(${target})
    endif()
endfunction()

# zel_ship(<target> <name>): for a library that ships. It exports only what <name>.def or <name>.map says; where names
# depend on the width, <name>32.def or <name>64.def. A unique symbol of the C++ library would keep it in the process for
# ever.
function(zel_ship target name)
    if(WIN32)
        if(NOT EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${name}.def)
            string(APPEND name ${ZEL_WIDTH})
        endif()
        target_sources(${target} PRIVATE ${name}.def ${PROJECT_SOURCE_DIR}/runtime/attach_windows.cpp)
        return()
    endif()
    set(exports ${CMAKE_CURRENT_SOURCE_DIR}/${name}.map)
    target_link_options(${target} PRIVATE -Wl,--version-script=${exports})
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${exports})
endfunction()

# Optimises libraries in instrumented builds, because tests spend their time there. Elsewhere compiling would take longer.
function(zel_optimise_instrumented target)
    if(ZEL_SANITIZE)
        target_compile_options(${target} PRIVATE -O1)
    endif()
endfunction()

# Hardening: a memory fault should end the program, not give control to an attacker. Stack canaries, checked copies,
# read-only relocations. The sanitizers have checks of their own.
function(zel_harden target)
    if(WIN32)
        # No canaries: the cross compiler's support for them makes every file import one more system library. No time, so
        # that the same sources give the same files.
        target_link_options(${target} PRIVATE -Wl,--dynamicbase,--nxcompat,--no-insert-timestamp)
        return()
    endif()
    target_compile_options(${target} PRIVATE -fstack-protector-strong)
    # Copies can be checked in optimised builds only.
    if(CMAKE_BUILD_TYPE MATCHES Rel)
        target_compile_options(${target} PRIVATE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
    endif()
    target_link_options(${target} PRIVATE -Wl,--no-undefined,-z,relro,-z,now,-z,noexecstack)
endfunction()
