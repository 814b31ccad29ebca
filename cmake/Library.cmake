# The library. Its sources are the files of the folders below Geometry/.

file(GLOB_RECURSE qelt_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/Geometry/*.cpp)
file(GLOB_RECURSE qelt_public_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/Geometry/*.h)

# Headers that only the library's own sources include: neither installed nor reached by Geometry/geometry.h.
set(qelt_internal_headers
    Geometry/foundations/internal/outputfile.h
    Geometry/foundations/internal/streamfailure.h
    Geometry/foundations/percentage.h
    Geometry/fitting/cylinderfitfunction.h
    Geometry/fitting/realvaluedvectorfunction.h
    Geometry/fitting/samenumber.h
    Geometry/groups/bestintersection.h
    Geometry/groups/lengthcheck.h
    Geometry/linearalgebra/compactrows.h
    Geometry/linearalgebra/normalequations.h
    Geometry/linearalgebra/scalarproduct.h
    Geometry/quadmesh/internal/littleendian.h
    Geometry/quadmesh/internal/quadfilewriter.h
    Geometry/search/dualbasis.h
    Geometry/trimesh/boundaryloops.h
    Geometry/trimesh/facestitcher.h
    Geometry/trimesh/internal/meshpath.h
    Geometry/trimesh/minheap.h
    Geometry/trimesh/nearestpoints.h
    Geometry/trimesh/sharpestturns.h
    Geometry/trimesh/textscanner.h
    Geometry/trimesh/trianglearena.h)
list(TRANSFORM qelt_internal_headers PREPEND ${PROJECT_SOURCE_DIR}/)
list(REMOVE_ITEM qelt_public_headers ${qelt_internal_headers})

add_library(QELTGeometry ${qelt_sources})
add_library(QELTGeometry::QELTGeometry ALIAS QELTGeometry)

# The include root is the repository's root, so that an include reads the same everywhere.
target_sources(
    QELTGeometry
    PUBLIC FILE_SET HEADERS
           BASE_DIRS ${PROJECT_SOURCE_DIR}
           FILES ${qelt_public_headers})
target_compile_features(QELTGeometry PUBLIC cxx_std_20)

# Same bits on every machine: a product and a sum are never contracted into one rounding, not in the inline
# code of the headers either.
target_compile_options(QELTGeometry PUBLIC $<$<CXX_COMPILER_ID:GNU,Clang,AppleClang>:-ffp-contract=off>)

# Inline functions stay visible: many classes are defined in their headers alone, and their type identity is
# shared by the library and its users.
set_target_properties(
    QELTGeometry
    PROPERTIES VERSION ${PROJECT_VERSION}
               SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}
               CXX_VISIBILITY_PRESET hidden
               VISIBILITY_INLINES_HIDDEN OFF
               VERIFY_INTERFACE_HEADER_SETS ON)
if(BUILD_SHARED_LIBS)
    target_compile_definitions(QELTGeometry PRIVATE QELT_BUILDING_LIBRARY)
else()
    target_compile_definitions(QELTGeometry PUBLIC QELT_STATIC)
endif()
qelt_configure_own_target(QELTGeometry)
