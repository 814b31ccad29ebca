# Read by CTest: adds a test for each suite of a test program. One process runs the suite: starting one for each of a
# few thousand tests, and building anew what they share, takes minutes under a sanitizer.

# The suites that take longest under a sanitizer, and their seconds there. They begin first, so that no long one is left
# over when all others are done.
set(qelt_long_suites
    "cscan.Readme 69"
    "simulation.Inspection 59"
    "cscan.Outputs 57"
    "cscan.Cscan 54"
    "fitting.SphereFit 23"
    "cscan.MeshCommands 22"
    "trimesh.MeshAllocation 19"
    "flattening.Orientation 16"
    "trimesh.Reconstruction 15"
    "inspection.Lag 14"
    "cscan.MeasuredCommands 13"
    "fitting.RigidBodyMap 13"
    "fitting.ParaboloidFit 13"
    "flattening.ConformalMapAllocation 12"
    "spatial.NearestPoints 11"
    "trimesh.TextScanner 11"
    "inspection.Reconstruction 11"
    "inspection.LineScans 10"
    "inspection.SureSearch 10"
    "inspection.CloudSpacing 10")

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
        if("${qelt_long_suites}" MATCHES "(^|;)${prefix}${suite} ([0-9]+)")
            set_tests_properties(${prefix}${suite} PROPERTIES COST ${CMAKE_MATCH_2})
        endif()
    endforeach()
endfunction()
