#include "python/src/objects.h"

PYBIND11_MODULE(_core, module) {
    namespace Python = QELT::Python;
    module.doc() = "The inspection of parts with curved surfaces, from arrays to C-scans.";
    pybind11::register_exception<QELT::Inspection::Failure>(module, "Failure", PyExc_RuntimeError).doc() =
        "What went wrong with which file or value, and what to do, in one line.";
    module.attr("__version__") = QELT::Inspection::libraryVersion();
    Python::bindMesh(module);
    Python::bindGrid(module);
    Python::bindStructures(module);
    Python::bindBeams(module);
    Python::bindResults(module);
    Python::bindPoints(module);
    Python::bindSettings(module);
    Python::bindCalls(module);
}
