# zel_add_dictionary_header(<target> <dictionary> <header>
#     [NAMESPACE <name>] [REPETITIONS <number>] [MESSAGES <message>...])
#
# Makes a C++ header of a dictionary, a source or an image, as `zel dict header` does, and makes it again when the
# dictionary changes. What links <target> includes it as <header>, and is built after it; the library is linked, too.
# A cross build names in ZEL_COMMAND a `zel` that runs on the machine that builds.
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
    set(command zel::command)
    if(ZEL_COMMAND)
        set(command ${ZEL_COMMAND})
    endif()
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
