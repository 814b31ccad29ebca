# The page that 'cscan view' fills: the sources below page/ and the packages that page/package-lock.json names become one
# file, which is compiled into the inspection library. Sets qelt_page_source to the source to compile.

set(qelt_page_dir ${PROJECT_BINARY_DIR}/page)
set(qelt_page_source ${qelt_page_dir}/pagebundle.cpp)
set(qelt_page_bundle "")

if(QELT_PAGE_BUNDLE)
    get_filename_component(qelt_page_bundle ${QELT_PAGE_BUNDLE} ABSOLUTE)
    if(NOT EXISTS ${qelt_page_bundle})
        message(FATAL_ERROR "QELT_PAGE_BUNDLE: there is no file ${qelt_page_bundle}")
    endif()
elseif(QELT_WITH_PAGE)
    if(NOT QELT_NPM OR NOT QELT_NODE)
        message(FATAL_ERROR "QELT_WITH_PAGE needs npm and node (18 or newer): install nodejs and npm, or hand in a "
                            "page with -DQELT_PAGE_BUNDLE=PAGE.html, or turn it off")
    endif()
    set(qelt_page_root ${PROJECT_SOURCE_DIR}/page)
    set(qelt_page_packages ${qelt_page_dir}/packages.stamp)
    set(qelt_page_bundle ${qelt_page_dir}/page.html)
    file(GLOB qelt_page_files CONFIGURE_DEPENDS ${qelt_page_root}/src/*.js ${qelt_page_root}/src/*.css
         ${qelt_page_root}/src/*.html ${qelt_page_root}/build.mjs)
    # The packages are put beside the build, so that the source tree stays as it is.
    add_custom_command(
        OUTPUT ${qelt_page_packages}
        COMMAND ${CMAKE_COMMAND} -E copy ${qelt_page_root}/package.json ${qelt_page_root}/package-lock.json
                ${qelt_page_dir}
        COMMAND ${QELT_NPM} ci --ignore-scripts --no-audit --no-fund --loglevel=error
        COMMAND ${CMAKE_COMMAND} -E touch ${qelt_page_packages}
        DEPENDS ${qelt_page_root}/package.json ${qelt_page_root}/package-lock.json
        WORKING_DIRECTORY ${qelt_page_dir}
        COMMENT "Fetching the packages of the page (without a network: -DQELT_WITH_PAGE=OFF)"
        VERBATIM)
    add_custom_command(
        OUTPUT ${qelt_page_bundle}
        COMMAND ${QELT_NODE} ${qelt_page_root}/build.mjs ${qelt_page_dir}/node_modules ${qelt_page_bundle}
        DEPENDS ${qelt_page_packages} ${qelt_page_files}
        COMMENT "Bundling the page"
        VERBATIM)
endif()

file(MAKE_DIRECTORY ${qelt_page_dir})
add_custom_command(
    OUTPUT ${qelt_page_source}
    COMMAND ${CMAKE_COMMAND} -DBUNDLE=${qelt_page_bundle} -DSOURCE=${qelt_page_source} -P
            ${PROJECT_SOURCE_DIR}/cmake/EmbedPage.cmake
    DEPENDS ${qelt_page_bundle} ${PROJECT_SOURCE_DIR}/cmake/EmbedPage.cmake
    COMMENT "Embedding the page"
    VERBATIM)
