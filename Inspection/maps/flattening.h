#pragma once

#include "Inspection/maps/internal/solvermonitor.h"
#include "Inspection/names.h"
#include "apps/cscan/progress/progressdisplay.h"

#include <string>
#include <vector>

namespace QELT::Inspection {

/// Which points of the flat map are fixed before it is solved for.
enum class FlatteningMode {
    Pinned,      ///< two vertices far apart on the rim
    Developable, ///< the whole outer rim, rolled out without stretching
};

struct FlatteningReport {
    std::vector<SolveRecord> solves; ///< developable: of the boundary, then of the inside; pinned: one
    bool isConverged = false;        ///< whether the last solve reached the library's tolerance
    double seconds = 0.0;
};

/// Flattens the mesh and reports the solver's way. The mesh must have a rim. While it runs, the standard
/// output is taken for the solver's progress line; the mesh reports to `display`.
FlatteningReport flatten(Mesh& mesh, FlatteningMode mode, ProgressDisplay& display);

/// A line on each solve: what was solved for, iterations, residual, result.
std::vector<std::string> linesOf(FlatteningReport const& report);

} // namespace QELT::Inspection
