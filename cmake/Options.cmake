# What is built. Everything but the library itself is left out when another project includes this one.

include(CMakeDependentOption)

option(BUILD_SHARED_LIBS "Build a shared library" ON)
option(QELT_BUILD_TESTS "Build the tests" ${PROJECT_IS_TOP_LEVEL})
option(QELT_BUILD_APPS "Build the applications" ${PROJECT_IS_TOP_LEVEL})
option(QELT_BUILD_INSPECTION "Build the inspection library, which the applications need" ${QELT_BUILD_APPS})
if(QELT_BUILD_APPS AND NOT QELT_BUILD_INSPECTION)
    message(FATAL_ERROR "QELT_BUILD_APPS needs QELT_BUILD_INSPECTION")
endif()
find_package(assimp QUIET)
cmake_dependent_option(QELT_WITH_ASSIMP "Read glTF files, through Assimp" "${assimp_FOUND}"
                       QELT_BUILD_INSPECTION OFF)

# Without npm and node the page of 'cscan view' is left out, or taken as it was built elsewhere.
set(qelt_page_default OFF)
if(QELT_BUILD_INSPECTION)
    find_program(QELT_NPM npm)
    find_program(QELT_NODE node)
    if(QELT_NPM AND QELT_NODE)
        set(qelt_page_default ON)
    endif()
    set(QELT_PAGE_BUNDLE "" CACHE FILEPATH "A page that was built elsewhere, instead of building it")
endif()
cmake_dependent_option(QELT_WITH_PAGE "Build the page that 'cscan view' writes, with npm and node" ${qelt_page_default}
                       QELT_BUILD_INSPECTION OFF)
option(QELT_BUILD_PYTHON "Build the Python module" OFF)
if(QELT_BUILD_PYTHON AND NOT QELT_BUILD_INSPECTION)
    message(FATAL_ERROR "QELT_BUILD_PYTHON needs QELT_BUILD_INSPECTION")
endif()
if(QELT_BUILD_PYTHON AND NOT BUILD_SHARED_LIBS)
    message(FATAL_ERROR "QELT_BUILD_PYTHON needs BUILD_SHARED_LIBS")
endif()
option(QELT_BUILD_EXAMPLES "Build the examples" ${PROJECT_IS_TOP_LEVEL})
option(QELT_BUILD_FUZZERS "Build the fuzz harnesses as programs that replay files" ${PROJECT_IS_TOP_LEVEL})
cmake_dependent_option(QELT_FUZZ_WITH_LIBFUZZER "Build the fuzz harnesses as libFuzzer programs (Clang)" OFF
                       QELT_BUILD_FUZZERS OFF)
option(QELT_VERIFY_HEADERS "Compile each public header alone, by GCC and Clang, as one of the tests" ON)
option(QELT_TEST_SUITES_WHOLE "Run the tests of a suite in one process, instead of one for each test" OFF)
option(QELT_WARNINGS_AS_ERRORS "Treat warnings in this project's own code as errors" OFF)

# Benchmarks need a package that nothing else needs: without it they are off by default, not an error.
set(qelt_benchmarks_default OFF)
if(PROJECT_IS_TOP_LEVEL AND NOT DEFINED QELT_BUILD_BENCHMARKS)
    find_package(benchmark QUIET)
    if(benchmark_FOUND)
        set(qelt_benchmarks_default ON)
    endif()
endif()
option(QELT_BUILD_BENCHMARKS "Build the benchmarks" ${qelt_benchmarks_default})
cmake_dependent_option(QELT_BENCHMARK_PEERS "Build the benchmarks that need CGAL, nanoflann and tinyobjloader" OFF
                       QELT_BUILD_BENCHMARKS OFF)

get_property(qelt_is_multi_config GLOBAL PROPERTY GENERATOR_IS_MULTI_CONFIG)
if(PROJECT_IS_TOP_LEVEL AND NOT qelt_is_multi_config AND NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Debug, Release, RelWithDebInfo or MinSizeRel" FORCE)
endif()
