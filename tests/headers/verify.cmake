# Compiles each public header alone with one compiler and one standard, warnings being errors.
#
# Nearly all of the time of a header is the standard library's. Every header here begins with its includes, which is
# checked as well: what stands before its own text is all that it includes, in whatever order. So it may be read after
# one of the headers that it includes, precompiled, and nothing is there which it did not ask for: should one of those
# lean on another, that one fails by itself. The few headers that many include are precompiled, each alone.
#
# cmake -D source=SOURCES -D scratch=FOLDER -D compiler=COMPILER -D standard=c++20 -P verify.cmake

cmake_minimum_required(VERSION 3.25)

# What to read a header after: the first of these that it includes, the largest standing first.
set(bases Inspection/records/outputs.h Inspection/names.h Geometry/quadmesh/rectmesh.h Geometry/foundations/point.h)

set(flags -std=${standard} -Wall -Wextra -Wconversion -pedantic -Werror -Winvalid-pch -ffp-contract=off -I${source})

if(NOT compiler OR compiler MATCHES "NOTFOUND")
    message("Skipped: this compiler is not installed")
    return()
endif()

# read_includes(<header>): sets includes_of_<header> to the public headers that it includes itself.
function(read_includes header)
    file(READ ${source}/${header} text)
    string(REGEX REPLACE "//[^\n]*" "" text "${text}")
    string(REGEX MATCH "^(#pragma once|#include [^\n]*|[ \n])*" head "${text}")
    string(REGEX MATCHALL "#include [^\n]*" all "${text}")
    string(REGEX MATCHALL "#include [^\n]*" leading "${head}")
    if(NOT "${all}" STREQUAL "${leading}")
        message(SEND_ERROR "${header} includes something behind its own text")
    endif()
    list(FILTER leading INCLUDE REGEX "\"")
    list(TRANSFORM leading REPLACE "^[^\"]*\"([^\"]*)\".*$" "\\1")
    set(includes_of_${header} ${leading} PARENT_SCOPE)
endfunction()

# find_reached(<header>): sets reached_from_<header> to all public headers that come with it, itself included.
function(find_reached header)
    set(reached ${header})
    foreach(included IN LISTS includes_of_${header})
        if(NOT DEFINED reached_from_${included})
            find_reached(${included})
            set(reached_from_${included} ${reached_from_${included}} PARENT_SCOPE)
        endif()
        list(APPEND reached ${reached_from_${included}})
    endforeach()
    list(REMOVE_DUPLICATES reached)
    set(reached_from_${header} ${reached} PARENT_SCOPE)
endfunction()

# compile(<what> <arguments>...): a failure says what failed.
function(compile what)
    execute_process(
        COMMAND ${compiler} ${flags} ${ARGN}
        RESULT_VARIABLE status
        ERROR_VARIABLE errors)
    if(NOT status EQUAL 0)
        message("${errors}")
        message(SEND_ERROR "${what} does not compile alone")
    endif()
endfunction()

# precompile(<base>): leaves it where an option -include of the file named like it finds it.
function(precompile base)
    set(file ${scratch}/${base})
    get_filename_component(folder ${file} DIRECTORY)
    file(MAKE_DIRECTORY ${folder})
    file(WRITE ${file} "#include \"${base}\"\n")
    compile(${base} -x c++-header ${file} -o ${file}.gch)
endfunction()

file(GLOB_RECURSE headers RELATIVE ${source} ${source}/Geometry/*.h ${source}/Inspection/*.h)
list(FILTER headers EXCLUDE REGEX "/internal/")
foreach(header IN LISTS headers)
    read_includes(${header})
endforeach()
foreach(header IN LISTS headers)
    find_reached(${header})
endforeach()

file(REMOVE_RECURSE ${scratch})
foreach(base IN LISTS bases)
    if(base IN_LIST headers)
        precompile(${base})
    endif()
endforeach()
foreach(header IN LISTS headers)
    if(header IN_LIST bases)
        continue()
    endif()
    set(before "")
    foreach(base IN LISTS bases)
        if(base IN_LIST reached_from_${header})
            set(before -include ${scratch}/${base})
            break()
        endif()
    endforeach()
    compile(${header} -fsyntax-only ${before} -include ${source}/${header} -x c++ /dev/null)
endforeach()
file(REMOVE_RECURSE ${scratch})
list(LENGTH headers count)
message("${count} headers compile alone by ${compiler} as ${standard}")
