#pragma once

#include "python/src/calls.h"

#include <memory>

/// Meshes and grids as Python holds them.
namespace QELT::Python {

/// A grid with the sure search over it, which is set up when it is first asked for. The nodes of a grid never
/// change once it is made, so that rows shown to Python stay what they are and the search stays true.
class SharedGrid {
public:
    Grid grid;

    SharedGrid() = default;

    /// Shares the rows of `other`, which nobody may write any more.
    explicit SharedGrid(Grid const& other);

    SureSearch const& getSureSearch();

private:
    std::unique_ptr<SureSearch> search;
};

using GridHandle = std::shared_ptr<SharedGrid>;

/// While it lives, the object reports to the listener.
template <class T>
class Attached {
public:
    Attached(T& newObject, ProgressListener* listener) : object(newObject) {
        object.setProgressListener(listener);
    }

    ~Attached() { object.setProgressListener(nullptr); }

    Attached(Attached const&) = delete;
    Attached& operator=(Attached const&) = delete;

private:
    T& object;
};

void bindMesh(py::module_& module);
void bindGrid(py::module_& module);
void bindBeams(py::module_& module);
void bindResults(py::module_& module);
void bindPoints(py::module_& module);
void bindSettings(py::module_& module);

/// What `describe.py` writes.
void bindStructures(py::module_& module);
void bindCalls(py::module_& module);

} // namespace QELT::Python
