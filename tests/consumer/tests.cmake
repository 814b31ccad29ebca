# Included by the tests of the library: installs it into an empty tree and builds the user's project against
# that, once through find_package and once through pkg-config.

set(qelt_installed_tree ${CMAKE_CURRENT_BINARY_DIR}/installed)
set(qelt_has_inspection OFF)
if(TARGET QELTInspection)
    set(qelt_has_inspection ON)
endif()

add_test(NAME install.tree
         COMMAND ${CMAKE_COMMAND} -D build=${PROJECT_BINARY_DIR} -D prefix=${qelt_installed_tree} -D
                 has_inspection=${qelt_has_inspection} -P
                 ${CMAKE_CURRENT_LIST_DIR}/install.cmake)
set_tests_properties(install.tree PROPERTIES FIXTURES_SETUP installed_tree TIMEOUT 120 LABELS consumer)

# qelt_add_consumer_test(<name> <arguments of cmake>...)
function(qelt_add_consumer_test name)
    set(binary_dir ${CMAKE_CURRENT_BINARY_DIR}/${name})
    add_test(
        NAME consumer.${name}
        COMMAND
            ${CMAKE_CTEST_COMMAND} --build-and-test ${CMAKE_CURRENT_FUNCTION_LIST_DIR} ${binary_dir}
            --build-generator ${CMAKE_GENERATOR} --build-options -DCMAKE_BUILD_TYPE=${CMAKE_BUILD_TYPE}
            -DCMAKE_CXX_COMPILER=${CMAKE_CXX_COMPILER} "-DCMAKE_CXX_FLAGS=${CMAKE_CXX_FLAGS}"
            -DUSE_INSPECTION=${qelt_has_inspection} -DBUILD_SHARED_LIBS=${BUILD_SHARED_LIBS} ${ARGN}
            --test-command ${CMAKE_CTEST_COMMAND} --output-on-failure)
    set_tests_properties(consumer.${name} PROPERTIES FIXTURES_REQUIRED installed_tree TIMEOUT 300
                                                     LABELS consumer)
endfunction()

qelt_add_consumer_test(find_package -DCMAKE_PREFIX_PATH=${qelt_installed_tree})

find_package(PkgConfig QUIET)
if(PkgConfig_FOUND)
    qelt_add_consumer_test(pkg_config -DWAY=pkg_config -DCMAKE_PREFIX_PATH=${qelt_installed_tree}
                           -DCMAKE_BUILD_RPATH=${qelt_installed_tree}/${CMAKE_INSTALL_LIBDIR})
endif()

# As a part of another project the library brings nothing but itself.
add_test(NAME consumer.subproject
         COMMAND ${CMAKE_COMMAND} -S ${CMAKE_CURRENT_LIST_DIR}/subproject -B
                 ${CMAKE_CURRENT_BINARY_DIR}/subproject -G ${CMAKE_GENERATOR}
                 -DCMAKE_CXX_COMPILER=${CMAKE_CXX_COMPILER} -DQELT_SOURCE_DIR=${PROJECT_SOURCE_DIR})
set_tests_properties(consumer.subproject PROPERTIES TIMEOUT 120 LABELS consumer)

# All ways with both compilers and both linkages: a library of its own for each, which takes a minute or two. Where a
# compiler cache is at work the form that this build has is compiled as it is here, and the cache has it; the others
# are compiled in haste.
set(QELT_TEST_CONSUMERS "representative" CACHE STRING "Which consumers the tests build: representative, or all")
set_property(CACHE QELT_TEST_CONSUMERS PROPERTY STRINGS representative all)
if(NOT QELT_TEST_CONSUMERS STREQUAL "all" OR NOT UNIX)
    return()
endif()
find_program(QELT_GXX g++)
find_program(QELT_CLANGXX clang++)
set(qelt_haste -D CMAKE_BUILD_TYPE=Debug -D CMAKE_CXX_FLAGS_DEBUG=-O0 -D QELT_UNITE=library)
set(qelt_same -D CMAKE_BUILD_TYPE=${CMAKE_BUILD_TYPE} -D "CMAKE_CXX_FLAGS=${CMAKE_CXX_FLAGS}")

foreach(compiler IN ITEMS GXX CLANGXX)
    foreach(linkage IN ITEMS shared static)
        set(is_shared OFF)
        if(linkage STREQUAL "shared")
            set(is_shared ON)
        endif()
        set(settings ${qelt_haste})
        get_filename_component(path "${QELT_${compiler}}" REALPATH)
        get_filename_component(own "${CMAKE_CXX_COMPILER}" REALPATH)
        set(used "${QELT_${compiler}}")
        if(CMAKE_CXX_COMPILER_LAUNCHER AND path STREQUAL own AND (is_shared OR NOT BUILD_SHARED_LIBS))
            set(settings ${qelt_same})
            set(used ${CMAKE_CXX_COMPILER})
        endif()
        list(APPEND settings -D QELT_WITH_PAGE=OFF -D CMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER})
        string(TOLOWER ${compiler}_${linkage} name)
        add_test(
            NAME consumer.${name}
            COMMAND
                ${CMAKE_COMMAND} -D sources=${PROJECT_SOURCE_DIR} -D binary=${CMAKE_CURRENT_BINARY_DIR}/consumer/${name} -D
                compiler=${used} -D shared=${is_shared} -D inspection=${qelt_has_inspection} -D
                soversion=${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR} -D libdir=${CMAKE_INSTALL_LIBDIR} -D
                generator=${CMAKE_GENERATOR} -D "settings=${settings}" -P ${CMAKE_CURRENT_LIST_DIR}/ways.cmake)
        set_tests_properties(consumer.${name} PROPERTIES SKIP_REGULAR_EXPRESSION "Skipped: " COST 100 PROCESSORS 2
                                                         TIMEOUT 1500 LABELS consumer)
    endforeach()
endforeach()
