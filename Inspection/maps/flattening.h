#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"

namespace QELT::Inspection {

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

/// Flattens the mesh and reports the solver's way; a solve that does not converge leaves its last iterate.
/// The mesh must have a rim; what the core throws passes unchanged. The mesh reports to `listener`, which may
/// be null and stays attached. While it runs, nothing reaches the standard output.
QELT_INSPECTION_EXPORT FlatteningReport flatten(Mesh& mesh, FlatteningMode mode, ProgressListener* listener);

} // namespace QELT::Inspection
