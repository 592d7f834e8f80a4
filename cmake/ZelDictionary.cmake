# Functions for CMake builds of programs that have a dictionary of their own. They run `zel` as it builds: that of the
# installed package or the one that ZEL_COMMAND names, which in a cross build is one for the machine that builds.

# zel_dictionary_command(<variable>): the command to build with.
function(zel_dictionary_command variable)
    if(ZEL_COMMAND)
        set(${variable} ${ZEL_COMMAND} PARENT_SCOPE)
    elseif(TARGET zel::command)
        set(${variable} zel::command PARENT_SCOPE)
    else()
        message(FATAL_ERROR "Dictionaries are built by the command zel, which is not installed with this package: "
            "install it (Debian: zel-tools), or name one with -DZEL_COMMAND=PATH")
    endif()
endfunction()

# zel_add_dictionary(<target> <source> <image>)
#
# Compiles a dictionary's source to the image that the provider maps, as `zel dict build` does, and again when the source
# changes. The target is part of a build of everything. A relative path of the image starts at the current build folder.
function(zel_add_dictionary target source image)
    zel_dictionary_command(command)
    cmake_path(ABSOLUTE_PATH source)
    cmake_path(ABSOLUTE_PATH image BASE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})
    add_custom_command(
        OUTPUT ${image}
        COMMAND ${command} dict build ${source} -o ${image}
        DEPENDS ${source} ${command}
        COMMENT "Building the dictionary image of ${target}"
        VERBATIM)
    add_custom_target(${target} ALL DEPENDS ${image})
endfunction()

# zel_add_dictionary_header(<target> <dictionary> <header>
#     [NAMESPACE <name>] [REPETITIONS <number>] [MESSAGES <message>...])
#
# Makes a C++ header of a dictionary, a source or an image, as `zel dict header` does, and makes it again when the
# dictionary changes. What links <target> includes it as <header>, and is built after it; the library is linked, too.
function(zel_add_dictionary_header target dictionary header)
    cmake_parse_arguments(PARSE_ARGV 3 arg "" "NAMESPACE;REPETITIONS" "MESSAGES")
    if(arg_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "zel_add_dictionary_header(${target}): what is ${arg_UNPARSED_ARGUMENTS}?")
    endif()
    set(options)
    if(arg_NAMESPACE)
        list(APPEND options --namespace ${arg_NAMESPACE})
    endif()
    if(arg_REPETITIONS)
        list(APPEND options --repetitions ${arg_REPETITIONS})
    endif()
    zel_dictionary_command(command)
    cmake_path(ABSOLUTE_PATH dictionary)
    set(folder ${CMAKE_CURRENT_BINARY_DIR}/${target})
    file(MAKE_DIRECTORY ${folder})
    add_custom_command(
        OUTPUT ${folder}/${header}
        COMMAND ${command} dict header ${dictionary} ${arg_MESSAGES} ${options} -o ${folder}/${header}.new
        # Another command may write the same: what includes it is then not compiled again.
        COMMAND ${CMAKE_COMMAND} -E copy_if_different ${folder}/${header}.new ${folder}/${header}
        DEPENDS ${dictionary} ${command}
        COMMENT "Writing ${header} from the dictionary"
        VERBATIM)
    add_custom_target(${target}_header DEPENDS ${folder}/${header})
    add_library(${target} INTERFACE)
    add_dependencies(${target} ${target}_header)
    target_include_directories(${target} INTERFACE ${folder})
    target_compile_features(${target} INTERFACE cxx_std_20)
    target_link_libraries(${target} INTERFACE zel::zel)
endfunction()
