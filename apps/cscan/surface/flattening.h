#pragma once

#include "apps/cscan/names.h"
#include "apps/cscan/progress/progressdisplay.h"

#include <string>
#include <vector>

namespace cscan {

/// Which points of the flat map are fixed before it is solved for.
enum class FlatteningMode {
    Pinned,      ///< two vertices far apart on the rim
    Developable, ///< the whole outer rim, rolled out without stretching
};

using SolveReport = QELT::LinearAlgebra::SolveReport;

struct FlatteningReport {
    QELT::Geometry::ThreeDimensional::TriMesh::ConformalMapReport solves;
    double seconds = 0.0;
};

/// Flattens the mesh and reports the solver's way. The mesh must have a rim, and reports to `display` from
/// then on. While it runs, nothing reaches the standard output.
FlatteningReport flatten(Mesh& mesh, FlatteningMode mode, ProgressDisplay& display);

/// A line on each solve: what was solved for, iterations, residual, result.
std::vector<std::string> linesOf(FlatteningReport const& report);

} // namespace cscan
