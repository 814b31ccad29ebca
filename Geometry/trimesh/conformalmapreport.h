#pragma once

#include "Geometry/linearalgebra/solvereport.h"

#include <optional>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// How the solves behind a flat map ended.
struct ConformalMapReport {
    /// Of the boundary that was rolled out; none where corners were pinned instead.
    std::optional<LinearAlgebra::SolveReport> boundary;

    /// Of all vertices that the boundary or the pins left free.
    std::optional<LinearAlgebra::SolveReport> inside;
};

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
