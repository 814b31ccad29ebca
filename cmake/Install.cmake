# Installed tree: include/QELTGeometry/Geometry/..., the library, a CMake package and a pkg-config file. What else
# is installed says so in its own file and joins this package. Each rule names its component, which is a Debian package
# (Package.cmake): without one a file would be in none.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(qelt_include_dir ${CMAKE_INSTALL_INCLUDEDIR}/QELTGeometry)
set(qelt_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/QELTGeometry)

install(
    TARGETS QELTGeometry
    EXPORT QELTGeometryTargets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT core
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
            COMPONENT core
            NAMELINK_COMPONENT core-dev
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT core-dev
    FILE_SET HEADERS DESTINATION ${qelt_include_dir} COMPONENT core-dev)
install(
    EXPORT QELTGeometryTargets
    NAMESPACE QELTGeometry::
    DESTINATION ${qelt_package_dir}
    COMPONENT core-dev)

configure_package_config_file(
    cmake/QELTGeometryConfig.cmake.in ${PROJECT_BINARY_DIR}/QELTGeometryConfig.cmake
    INSTALL_DESTINATION ${qelt_package_dir})
write_basic_package_version_file(
    ${PROJECT_BINARY_DIR}/QELTGeometryConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/QELTGeometryConfig.cmake
              ${PROJECT_BINARY_DIR}/QELTGeometryConfigVersion.cmake
        DESTINATION ${qelt_package_dir} COMPONENT core-dev)

# The pkg-config file finds its prefix from where it lies, so that an installed tree may be moved.
file(RELATIVE_PATH qelt_pc_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
set(qelt_pc_cflags "-ffp-contract=off")
if(NOT BUILD_SHARED_LIBS)
    string(APPEND qelt_pc_cflags " -DQELT_STATIC")
endif()
configure_file(cmake/qeltgeometry.pc.in ${PROJECT_BINARY_DIR}/qeltgeometry.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qeltgeometry.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT core-dev)
