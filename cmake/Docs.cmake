# The documentation: 'docs' builds its site, and each page has a test that runs what it shows. Both need the program, the
# Python module and shared libraries; the site needs Doxygen as well.

find_program(QELT_DOXYGEN doxygen)
mark_as_advanced(QELT_DOXYGEN)

if(NOT TARGET cscan OR NOT TARGET qelt_python OR NOT BUILD_SHARED_LIBS)
    return()
endif()

set(qelt_docs_dir ${PROJECT_BINARY_DIR}/docs)
set(qelt_run_pages
    ${Python_EXECUTABLE} ${PROJECT_SOURCE_DIR}/docs/run_pages.py --build-dir ${PROJECT_BINARY_DIR} --cscan
    $<TARGET_FILE:cscan> --python-path $<TARGET_FILE_DIR:qelt_python>/.. --cxx ${CMAKE_CXX_COMPILER})

file(GLOB_RECURSE qelt_docs_pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/*.md)
list(APPEND qelt_docs_pages ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/python/README.md)

if(QELT_DOXYGEN)
    # Pages that ran well since they, the program and the libraries changed, as a test or here, are not run again.
    add_custom_target(
        docs
        COMMAND ${qelt_run_pages} --keep --jobs 2 --sources ${qelt_docs_pages}
        COMMAND ${Python_EXECUTABLE} ${PROJECT_SOURCE_DIR}/docs/site/build_site.py --pages ${qelt_docs_dir}/pages
                --python-path $<TARGET_FILE_DIR:qelt_python>/.. --out ${qelt_docs_dir}/html
        DEPENDS cscan qelt_python
        COMMENT "Building the documentation's site"
        USES_TERMINAL VERBATIM)
endif()

if(QELT_BUILD_TESTS)
    foreach(page IN LISTS qelt_docs_pages)
        file(READ ${page} text)
        # Pages of nothing but text have no test.
        if(text MATCHES "\n```(sh|cpp|python)\n")
            file(RELATIVE_PATH name ${PROJECT_SOURCE_DIR} ${page})
            string(REGEX REPLACE "^docs/|[.]md$" "" name ${name})
            string(REPLACE "/" "." name ${name})
            add_test(NAME docs.${name} COMMAND ${qelt_run_pages} ${page})
            set_tests_properties(docs.${name} PROPERTIES LABELS docs TIMEOUT 600)
        endif()
    endforeach()
    add_test(NAME docs.sources COMMAND ${qelt_run_pages} --sources)
    # What these tools refuse.
    add_test(NAME docs.tools COMMAND ${Python_EXECUTABLE} -m pytest -q -p no:cacheprovider
                                     ${PROJECT_SOURCE_DIR}/tests/documentation)
    set_tests_properties(docs.sources docs.tools PROPERTIES LABELS docs TIMEOUT 600)
endif()
