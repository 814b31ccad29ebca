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
            -DUSE_INSPECTION=${qelt_has_inspection} ${ARGN}
            --test-command ${CMAKE_CTEST_COMMAND} --output-on-failure)
    set_tests_properties(consumer.${name} PROPERTIES FIXTURES_REQUIRED installed_tree TIMEOUT 300
                                                     LABELS consumer)
endfunction()

qelt_add_consumer_test(find_package -DCMAKE_PREFIX_PATH=${qelt_installed_tree})

find_package(PkgConfig QUIET)
if(PkgConfig_FOUND)
    qelt_add_consumer_test(pkg_config -DUSE_PKG_CONFIG=ON -DCMAKE_PREFIX_PATH=${qelt_installed_tree}
                           -DCMAKE_BUILD_RPATH=${qelt_installed_tree}/${CMAKE_INSTALL_LIBDIR})
endif()

# As a part of another project the library brings nothing but itself.
add_test(NAME consumer.subproject
         COMMAND ${CMAKE_COMMAND} -S ${CMAKE_CURRENT_LIST_DIR}/subproject -B
                 ${CMAKE_CURRENT_BINARY_DIR}/subproject -G ${CMAKE_GENERATOR}
                 -DCMAKE_CXX_COMPILER=${CMAKE_CXX_COMPILER} -DQELT_SOURCE_DIR=${PROJECT_SOURCE_DIR})
set_tests_properties(consumer.subproject PROPERTIES TIMEOUT 120 LABELS consumer)
