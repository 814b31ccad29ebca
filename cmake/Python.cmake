# The Python that the module is built for and tested with.

# The machine's own Python, which its packages belong to, unless another is named.
set(qelt_python_default "")
if(EXISTS /usr/bin/python3)
    set(qelt_python_default /usr/bin/python3)
endif()
set(QELT_PYTHON "${qelt_python_default}" CACHE FILEPATH "The Python that the module is built for")
if(QELT_PYTHON)
    set(Python_EXECUTABLE ${QELT_PYTHON})
endif()
find_package(Python 3.9 REQUIRED COMPONENTS Interpreter Development.Module)
find_package(pybind11 2.10 REQUIRED)
