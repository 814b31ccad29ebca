# Installs a built tree into an empty folder, so that no file of an earlier run is taken for an installed one.

cmake_minimum_required(VERSION 3.25)

file(REMOVE_RECURSE ${prefix})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${build} --prefix ${prefix} OUTPUT_QUIET
                                                                               COMMAND_ERROR_IS_FATAL ANY)
file(GLOB_RECURSE headers RELATIVE ${prefix}/include ${prefix}/include/*)
if(NOT "QELTGeometry/Geometry/geometry.h" IN_LIST headers)
    message(FATAL_ERROR "The installed headers lack Geometry/geometry.h: ${headers}")
endif()
if(has_inspection AND NOT "QELTGeometry/Inspection/inspection.h" IN_LIST headers)
    message(FATAL_ERROR "The installed headers lack Inspection/inspection.h: ${headers}")
endif()
if(headers MATCHES "/internal/")
    message(FATAL_ERROR "An internal header is installed: ${headers}")
endif()
