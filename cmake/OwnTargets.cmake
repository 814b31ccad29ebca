# Flags of this project's own targets. Nothing here reaches a user of the library.

# Warnings, less one that GCC 12 raises without reason on the concatenation of standard strings; and the rule of
# arithmetic that concerns our own sources: GCC's straight-line vectoriser drops the rounding of double(float(x))
# where two such conversions stand side by side.
function(qelt_configure_own_target target)
    set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
    if(MSVC)
        target_compile_options(${target} PRIVATE /W4 $<$<BOOL:${QELT_WARNINGS_AS_ERRORS}>:/WX>)
        return()
    endif()
    target_compile_options(
        ${target}
        PRIVATE -Wall
                -Wextra
                -Wpedantic
                -Wshadow
                -Wconversion
                -Wsign-conversion
                $<$<BOOL:${QELT_WARNINGS_AS_ERRORS}>:-Werror>
                $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
                $<$<CXX_COMPILER_ID:GNU>:-fno-tree-slp-vectorize>)
endfunction()

# qelt_limit_exports(<library>): a shared library shows the names of exports.map alone, where the linker is GNU's or
# takes the same scripts.
function(qelt_limit_exports library)
    if(BUILD_SHARED_LIBS AND UNIX AND NOT APPLE)
        set(map ${PROJECT_SOURCE_DIR}/cmake/exports.map)
        target_link_options(${library} PRIVATE -Wl,--version-script=${map})
        set_property(TARGET ${library} APPEND PROPERTY LINK_DEPENDS ${map})
    endif()
endfunction()
