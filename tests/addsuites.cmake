# Read by CTest: adds a test for each suite of a test program. One process runs the suite: starting one for each of a
# few thousand tests, and building anew what they share, takes minutes under a sanitizer.

# qelt_add_suites(<program> <prefix> <properties of tests>...)
function(qelt_add_suites program prefix)
    if(NOT EXISTS ${program})
        add_test(${prefix}NOT_BUILT ${program})
        return()
    endif()
    execute_process(
        COMMAND ${program} --gtest_list_tests
        OUTPUT_VARIABLE listing
        RESULT_VARIABLE status
        TIMEOUT 60)
    string(REGEX MATCHALL "\n[A-Za-z0-9_/]+\\." suites "\n${listing}")
    if(NOT status EQUAL 0 OR NOT suites)
        message(FATAL_ERROR "${program} does not tell its tests: ${status}\n${listing}")
    endif()
    foreach(suite IN LISTS suites)
        string(REGEX REPLACE "[\n.]" "" suite ${suite})
        add_test(${prefix}${suite} ${program} --gtest_filter=${suite}.*)
        set_tests_properties(${prefix}${suite} PROPERTIES ${ARGN})
    endforeach()
endfunction()
