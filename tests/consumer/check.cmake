# Installs the build, then configures, builds and runs users' programs against the installed copy, both ways to find it.
# Called with BUILD, SOURCE, WORK, FLAGS and COMPILER.
function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${ARGN}\n${output}")
    endif()
endfunction()

file(REMOVE_RECURSE ${WORK})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/first)
# Moved, so that nothing in it may depend on where it was installed to.
file(RENAME ${WORK}/first ${WORK}/prefix)
file(GLOB pkgconfig ${WORK}/prefix/lib*/pkgconfig ${WORK}/prefix/lib/*/pkgconfig)
file(GLOB_RECURSE library ${WORK}/prefix/libzel.so)
get_filename_component(libraries ${library} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pkgconfig})
set(ENV{LD_LIBRARY_PATH} ${libraries})

foreach(way OFF ON)
    set(build ${WORK}/pkg-config-${way})
    run(${CMAKE_COMMAND} -S ${SOURCE} -B ${build} -G Ninja -DCMAKE_PREFIX_PATH=${WORK}/prefix
        -DUSE_PKG_CONFIG=${way} -DCMAKE_CXX_COMPILER=${COMPILER} "-DCMAKE_CXX_FLAGS=${FLAGS}")
    run(${CMAKE_COMMAND} --build ${build})
    run(${build}/filter_query)
    run(${build}/records)
endforeach()
run(${WORK}/pkg-config-OFF/generated)
run(${WORK}/prefix/bin/zel dict check ${SOURCE}/../../zeldata/sample.json)
run(${WORK}/prefix/bin/zel dict show 10/2)
