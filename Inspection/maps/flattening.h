#pragma once

#include "Inspection/export.h"
#include "Inspection/maps/directsolver.h"
#include "Inspection/names.h"

#include <cstdint>
#include <optional>
#include <string>

namespace QELT::Inspection {

/// Which points of the flat map are fixed before it is solved for.
enum class FlatteningMode {
    Pinned,      ///< two vertices far apart on the rim
    Developable, ///< the whole outer rim, rolled out without stretching
};

/// What solves the systems of a map.
enum class SolverKind : std::uint8_t {
    Direct,             ///< a sparse factor: seconds, also for a million vertices
    ConjugateGradients, ///< the core's own: minutes from 100,000 vertices on, lost on rims of thousands
};

/// How to flatten.
struct FlatteningOptions {
    FlatteningMode mode = FlatteningMode::Developable;
    SolverKind solver = SolverKind::Direct;
};

/// The core's report of a solve.
using SolveReport = QELT::LinearAlgebra::SolveReport;

/// A solve's residual for each unit of its right side; NaN of a solve that broke down.
QELT_INSPECTION_EXPORT double relativeResidualOf(SolveReport const& solve);

/// How the systems of a map were solved.
struct FlatteningReport {
    QELT::Geometry::ThreeDimensional::TriMesh::ConformalMapReport solves;
    double seconds = 0.0; ///< of the whole map
    SolverKind solver = SolverKind::ConjugateGradients;
    std::optional<DirectSolve> boundary; ///< more on the solves, where the direct solver made them
    std::optional<DirectSolve> inside;
    std::string doubt; ///< why the map cannot be trusted and what to do, in one line; empty if it can

    bool isTrustworthy() const { return doubt.empty(); }
};

/// Flattens the mesh and reports the solver's way; a solve that does not come to its end leaves what it has,
/// and the report its doubt. The mesh must have a rim; what the core and the listener throw passes unchanged.
/// The mesh reports to `listener`, which may be null and stays attached; a solver of its own stays, too, but
/// is not asked. While it runs, nothing reaches the standard output.
QELT_INSPECTION_EXPORT FlatteningReport flatten(Mesh& mesh, FlatteningOptions const& options,
                                                ProgressListener* listener);

/// The same by the direct solver.
QELT_INSPECTION_EXPORT FlatteningReport flatten(Mesh& mesh, FlatteningMode mode, ProgressListener* listener);

} // namespace QELT::Inspection
