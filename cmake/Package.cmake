# Debian packages, one for each component: cpack -G DEB in the build folder of the release form. The names of the
# libraries' packages follow their sonames.

if(NOT PROJECT_IS_TOP_LEVEL OR NOT UNIX)
    return()
endif()

set(qelt_soversion ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
set(qelt_debian_version ${PROJECT_VERSION}-1)

set(CPACK_PACKAGE_NAME qeltgeometry)
set(CPACK_PACKAGE_VENDOR "The QELTGeometry maintainers")
set(CPACK_PACKAGE_CONTACT "The QELTGeometry maintainers <maintainers@users.noreply.c-seed-a4a4dcf9.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
# Folders are those of a package, whatever the mask of who builds it.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                                                WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY "=")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/FinishPackage.cmake)

# qelt_add_package(<component> <Debian name> <section> <summary> <description> [<what it depends on>])
function(qelt_add_package component name section summary description)
    string(TOUPPER ${component} key)
    set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${name} PARENT_SCOPE)
    set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${section} PARENT_SCOPE)
    set(CPACK_DEBIAN_${key}_DESCRIPTION "${summary}\n${description}" PARENT_SCOPE)
    set(CPACK_DEBIAN_${key}_PACKAGE_DEPENDS "${ARGN}" PARENT_SCOPE)
    list(APPEND CPACK_COMPONENTS_ALL ${component})
    set(CPACK_COMPONENTS_ALL ${CPACK_COMPONENTS_ALL} PARENT_SCOPE)
endfunction()

set(qelt_core libqeltgeometry${qelt_soversion})
set(qelt_inspection libqeltinspection${qelt_soversion})

# Who installs a library has the loader look anew.
set(qelt_triggers ${PROJECT_BINARY_DIR}/debian/triggers)
file(WRITE ${qelt_triggers} "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_CORE_PACKAGE_CONTROL_EXTRA ${qelt_triggers})
set(CPACK_DEBIAN_INSPECTION_PACKAGE_CONTROL_EXTRA ${qelt_triggers})

set(CPACK_COMPONENTS_ALL "")
qelt_add_package(
    core ${qelt_core} libs "geometry of curved parts for their inspection"
    "From a point cloud or a triangle mesh to a flat map, a grid of quads whose
indices are the pixels of a C-scan, and the quad that a beam meets.")
qelt_add_package(
    core-dev libqeltgeometry-dev libdevel "geometry of curved parts for their inspection - headers"
    "Headers of the library, and what finds it for CMake and for pkg-config."
    "${qelt_core} (= ${qelt_debian_version})")
if(TARGET QELTInspection)
    qelt_add_package(
        inspection ${qelt_inspection} libs "inspection of curved parts, from a scan to a report"
        "Parts in, maps, grids, scans, indications, pictures and pages out, each as one
function."
        "${qelt_core} (= ${qelt_debian_version})")
    qelt_add_package(
        inspection-dev libqeltinspection-dev libdevel "inspection of curved parts - headers"
        "Headers of the library, and what finds it for CMake and for pkg-config."
        "${qelt_inspection} (= ${qelt_debian_version}), libqeltgeometry-dev (= ${qelt_debian_version})")
endif()
if(TARGET cscan)
    qelt_add_package(tools qelt-tools science "inspection of curved parts on the command line"
                     "The program cscan: checks and prepares parts, plans paths, places what was
measured on the part, finds indications, draws and reports."
                     "${qelt_core} (= ${qelt_debian_version}), ${qelt_inspection} (= ${qelt_debian_version})")
endif()
# The Python module says so itself where it is built.
if(TARGET qelt_python)
    qelt_add_package(python python3-qelt python "inspection of curved parts from Python"
                     "The module qelt: meshes, grids and beams as arrays of numpy, and every command
of the inspection library as a function." "${qelt_core} (= ${qelt_debian_version}), ${qelt_inspection} (= ${qelt_debian_version}), python3 (>= 3.11), python3 (<< 3.12), python3-numpy")
    # Of qelt.batch alone.
    set(CPACK_DEBIAN_PYTHON_PACKAGE_RECOMMENDS python3-distributed)
endif()
include(CPack)
