# The library. Its sources are the files of the folders below Geometry/. Headers in a folder internal/ serve the
# library's own sources alone: they are neither installed nor reached by Geometry/geometry.h.

file(GLOB_RECURSE qelt_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/Geometry/*.cpp)
file(GLOB_RECURSE qelt_public_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/Geometry/*.h)
list(FILTER qelt_public_headers EXCLUDE REGEX "/internal/[^/]*$")

# The compiled sources by themselves. The core's own tests link these instead of the library, so that internal
# classes need no export; no program links both, which would double the statics.
add_library(qelt_geometry_objects OBJECT ${qelt_sources})
target_include_directories(qelt_geometry_objects PUBLIC ${PROJECT_SOURCE_DIR})
set_target_properties(
    qelt_geometry_objects
    PROPERTIES CXX_VISIBILITY_PRESET hidden
               VISIBILITY_INLINES_HIDDEN OFF
               POSITION_INDEPENDENT_CODE ${BUILD_SHARED_LIBS})
qelt_configure_own_target(qelt_geometry_objects)
qelt_unite(qelt_geometry_objects library)

add_library(QELTGeometry $<TARGET_OBJECTS:qelt_geometry_objects>)
add_library(QELTGeometry::QELTGeometry ALIAS QELTGeometry)

# The include root is the repository's root, so that an include reads the same everywhere.
target_sources(
    QELTGeometry
    PUBLIC FILE_SET HEADERS
           BASE_DIRS ${PROJECT_SOURCE_DIR}
           FILES ${qelt_public_headers})

# Same bits on every machine: a product and a sum are never contracted into one rounding, not in the inline
# code of the headers either.
foreach(target IN ITEMS qelt_geometry_objects QELTGeometry)
    target_compile_features(${target} PUBLIC cxx_std_20)
    target_compile_options(${target} PUBLIC $<$<CXX_COMPILER_ID:GNU,Clang,AppleClang>:-ffp-contract=off>)
endforeach()

# Roots that may report an error one by one cannot be taken several at a time. No value hangs on that.
set_source_files_properties(
    ${PROJECT_SOURCE_DIR}/Geometry/quadmesh/areastatistics.cpp
    PROPERTIES COMPILE_OPTIONS $<$<CXX_COMPILER_ID:GNU,Clang,AppleClang>:-fno-math-errno> SKIP_UNITY_BUILD_INCLUSION ON)

# Inline functions stay visible: many classes are defined in their headers alone, and their type identity is
# shared by the library and its users.
set_target_properties(
    QELTGeometry
    PROPERTIES LINKER_LANGUAGE CXX
               VERSION ${PROJECT_VERSION}
               SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
qelt_limit_exports(QELTGeometry)
if(BUILD_SHARED_LIBS)
    target_compile_definitions(qelt_geometry_objects PRIVATE QELT_BUILDING_LIBRARY)
else()
    target_compile_definitions(qelt_geometry_objects PUBLIC QELT_STATIC)
    target_compile_definitions(QELTGeometry PUBLIC QELT_STATIC)
endif()
