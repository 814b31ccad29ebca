# What verify.cmake must find: headers that lean on what stands before them, raise a warning or include late, each in
# a small tree of its own beside headers without a fault.

cmake_minimum_required(VERSION 3.25)

# expect_verdict(<name> <complaint, empty for none> <header> <text of it>): judges a tree that has the header.
function(expect_verdict name complaint header text)
    set(tree ${scratch}/${name})
    file(REMOVE_RECURSE ${tree})
    # The first two are precompiled.
    file(WRITE ${tree}/Geometry/foundations/point.h "#pragma once\n\n#include <vector>\n\nusing Point = std::vector<double>;\n")
    file(WRITE ${tree}/Geometry/quadmesh/rectmesh.h
         "#pragma once\n\n#include \"Geometry/foundations/point.h\"\n\nstruct Grid {\n    Point point;\n};\n")
    file(WRITE ${tree}/Geometry/user.h "#pragma once\n\n#include \"Geometry/quadmesh/rectmesh.h\"\n\nextern Grid grid;\n")
    if(header)
        file(WRITE ${tree}/${header} "#pragma once\n\n${text}\n")
    endif()
    execute_process(
        COMMAND ${CMAKE_COMMAND} -D source=${tree} -D scratch=${tree}/scratch -D compiler=${compiler} -D standard=c++20 -P
                ${verify}
        RESULT_VARIABLE status
        OUTPUT_VARIABLE output
        ERROR_VARIABLE output)
    if(NOT complaint)
        if(NOT status EQUAL 0)
            message(SEND_ERROR "${name} was refused:\n${output}")
        endif()
    elseif(status EQUAL 0 OR NOT output MATCHES "${complaint}")
        message(SEND_ERROR "${name}: '${complaint}' was expected, and this came:\n${output}")
    endif()
endfunction()

expect_verdict(sound "" "" "")
expect_verdict(own_include_missing "Geometry/user.h does not compile alone" Geometry/user.h "extern Grid grid;")
expect_verdict(standard_include_missing "Geometry/user.h does not compile alone" Geometry/user.h
               "inline std::vector<int> numbers;")
# The standard header comes along behind the header that lacks it, so that who includes both would not notice.
expect_verdict(base_leans_on_its_user "Geometry/foundations/point.h does not compile alone" Geometry/foundations/point.h
               "using Point = std::vector<double>;")
expect_verdict(warning "float-conversion.*Geometry/user.h does not compile alone" Geometry/user.h
               "inline int narrowed(double value) {\n    return value;\n}")
expect_verdict(late_include "Geometry/late.h includes something behind its own text" Geometry/late.h
               "extern int a;\n#include <vector>")
# What is no include may well be chosen by a condition.
expect_verdict(conditional "" Geometry/conditional.h
               "#include <vector>\n\n#if defined(SOMETHING)\nextern int a;\n#else\nextern int b;\n#endif")
