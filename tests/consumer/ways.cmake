# The user's project in all four ways with one compiler and one linkage: out of the sources by add_subdirectory and by
# FetchContent, and then, of what that tree installs, by find_package and by pkg-config. It is installed for one prefix
# and lies below another (DESTDIR), so what is installed may be moved.
#
# cmake -D sources=SOURCES -D binary=FOLDER -D compiler=COMPILER -D shared=ON|OFF -D inspection=ON|OFF
#       -D soversion=VERSION -D libdir=LIBDIR -D generator=GENERATOR -D "settings=..." -P ways.cmake

cmake_minimum_required(VERSION 3.25)

if(compiler MATCHES "NOTFOUND")
    message("Skipped: this compiler is not installed")
    return()
endif()

set(project ${sources}/tests/consumer)
set(installed ${binary}/stage/opt/qelt)
set(programs consumer)
if(inspection)
    list(APPEND programs inspection_consumer)
endif()

# The tree of the sources stays between two runs, as what it compiled does.
function(run)
    execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE status)
    if(NOT status EQUAL 0)
        message(FATAL_ERROR "${ARGN}:\n${output}")
    endif()
endfunction()

# A program needs the shared libraries by the names that carry the version, and nothing of a static one.
function(check_needed program)
    execute_process(COMMAND readelf -d ${program} OUTPUT_VARIABLE table COMMAND_ERROR_IS_FATAL ANY)
    if(shared AND NOT table MATCHES "NEEDED[^\n]*\\[libQELT[A-Za-z]+\\.so\\.${soversion}\\]")
        message(FATAL_ERROR "${program} does not need a library of version ${soversion}:\n${table}")
    elseif(NOT shared AND table MATCHES "NEEDED[^\n]*QELT")
        message(FATAL_ERROR "${program} needs a shared library:\n${table}")
    endif()
endfunction()

function(try_way way tree)
    run(${CMAKE_COMMAND} -S ${project} -B ${tree} -G ${generator} -D CMAKE_CXX_COMPILER=${compiler} ${settings} -D
        WAY=${way} -D USE_INSPECTION=${inspection} -D BUILD_SHARED_LIBS=${shared} ${ARGN})
    foreach(program IN LISTS programs)
        file(REMOVE ${tree}/${program})
    endforeach()
    run(${CMAKE_COMMAND} --build ${tree} --parallel 2)
    run(${CMAKE_CTEST_COMMAND} --test-dir ${tree} --no-tests=error)
    foreach(program IN LISTS programs)
        check_needed(${tree}/${program})
    endforeach()
    message("${way}: ${programs}")
endfunction()

try_way(add_subdirectory ${binary}/sources -D SOURCES=${sources})
try_way(FetchContent ${binary}/sources -D SOURCES=${sources})
file(REMOVE_RECURSE ${binary}/stage ${binary}/found ${binary}/configured)
run(${CMAKE_COMMAND} -E env DESTDIR=${binary}/stage ${CMAKE_COMMAND} --install ${binary}/sources --prefix /opt/qelt)
try_way(find_package ${binary}/found -D CMAKE_PREFIX_PATH=${installed})
try_way(pkg_config ${binary}/configured -D CMAKE_PREFIX_PATH=${installed} -D CMAKE_BUILD_RPATH=${installed}/${libdir})
