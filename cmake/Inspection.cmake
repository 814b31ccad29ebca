# The inspection library: what the applications do with the core, as functions. A client of the core's public
# headers alone. Its sources are the files of the folders below Inspection/; what lies in a folder internal/ is
# neither installed nor shown.

find_package(PNG REQUIRED)
find_package(Eigen3 3.4 REQUIRED NO_MODULE)
find_package(embree 3 REQUIRED)
find_package(nlohmann_json REQUIRED)
find_package(ZLIB REQUIRED)
# CMake's own module for it wants a compiler of C.
find_package(PkgConfig REQUIRED)
pkg_check_modules(HDF5 REQUIRED IMPORTED_TARGET hdf5)
pkg_check_modules(TIFF REQUIRED IMPORTED_TARGET libtiff-4>=4.5)

# None of them shows in a public header. Two are headers only, which nobody needs who links what was built.
set(qelt_inspection_libraries PNG::PNG ZLIB::ZLIB PkgConfig::HDF5 PkgConfig::TIFF embree $<BUILD_INTERFACE:Eigen3::Eigen>
                              $<BUILD_INTERFACE:nlohmann_json::nlohmann_json>)
if(QELT_WITH_ASSIMP)
    find_package(assimp REQUIRED)
    list(APPEND qelt_inspection_libraries assimp::assimp)
endif()

file(GLOB_RECURSE qelt_inspection_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/Inspection/*.cpp)
file(GLOB_RECURSE qelt_inspection_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/Inspection/*.h)
list(FILTER qelt_inspection_headers EXCLUDE REGEX "/internal/")

include(cmake/Page.cmake)

# Compiled once, for the library and for its tests: these reach internal functions, which the library hides.
add_library(qelt_inspection_objects OBJECT ${qelt_inspection_sources} ${qelt_page_source})
set_target_properties(
    qelt_inspection_objects
    PROPERTIES CXX_VISIBILITY_PRESET hidden
               VISIBILITY_INLINES_HIDDEN OFF
               POSITION_INDEPENDENT_CODE ON)
target_include_directories(qelt_inspection_objects PUBLIC ${PROJECT_SOURCE_DIR})
target_link_libraries(qelt_inspection_objects PUBLIC QELTGeometry::QELTGeometry PRIVATE ${qelt_inspection_libraries})
if(QELT_WITH_ASSIMP)
    set_property(
        SOURCE ${PROJECT_SOURCE_DIR}/Inspection/import/internal/scenereader.cpp
        APPEND
        PROPERTY COMPILE_DEFINITIONS QELT_WITH_ASSIMP)
endif()
qelt_configure_own_target(qelt_inspection_objects)
qelt_unite(qelt_inspection_objects library)
# Of Eigen, only what is under the Mozilla Public License.
target_compile_definitions(qelt_inspection_objects PRIVATE EIGEN_MPL2_ONLY)

add_library(QELTInspection $<TARGET_OBJECTS:qelt_inspection_objects>)
add_library(QELTGeometry::Inspection ALIAS QELTInspection)
target_sources(
    QELTInspection
    PUBLIC FILE_SET HEADERS
           BASE_DIRS ${PROJECT_SOURCE_DIR}
           FILES ${qelt_inspection_headers})
target_link_libraries(QELTInspection PUBLIC QELTGeometry::QELTGeometry PRIVATE ${qelt_inspection_libraries})
set_target_properties(
    QELTInspection
    PROPERTIES VERSION ${PROJECT_VERSION}
               SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}
               EXPORT_NAME Inspection
               LINKER_LANGUAGE CXX)
qelt_limit_exports(QELTInspection)
if(BUILD_SHARED_LIBS)
    target_compile_definitions(qelt_inspection_objects PRIVATE QELT_BUILDING_INSPECTION)
else()
    target_compile_definitions(qelt_inspection_objects PUBLIC QELT_INSPECTION_STATIC)
    target_compile_definitions(QELTInspection PUBLIC QELT_INSPECTION_STATIC)
endif()

# Installed beside the core; a shared library finds the core in its own folder.
set_target_properties(QELTInspection PROPERTIES INSTALL_RPATH "$ORIGIN")
install(
    TARGETS QELTInspection
    EXPORT QELTInspectionTargets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT inspection
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
            COMPONENT inspection
            NAMELINK_COMPONENT inspection-dev
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT inspection-dev
    FILE_SET HEADERS DESTINATION ${qelt_include_dir} COMPONENT inspection-dev)
install(
    EXPORT QELTInspectionTargets
    NAMESPACE QELTGeometry::
    DESTINATION ${qelt_package_dir}
    COMPONENT inspection-dev)

set(qelt_inspection_pc_cflags "")
if(NOT BUILD_SHARED_LIBS)
    set(qelt_inspection_pc_cflags "-DQELT_INSPECTION_STATIC")
endif()
set(qelt_inspection_pc_libs "")
if(QELT_WITH_ASSIMP)
    set(qelt_inspection_pc_libs "-lassimp")
endif()
configure_file(cmake/qeltinspection.pc.in ${PROJECT_BINARY_DIR}/qeltinspection.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qeltinspection.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT inspection-dev)
