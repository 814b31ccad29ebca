#pragma once

#include "Geometry/foundations/vector.h"

#include <utility>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

/// The basis dual to the two edges of a quad: the inner products of a displacement with `u` and `v` are its
/// coordinates along the edges. Not finite for parallel edges.
struct DualBasis {
    explicit DualBasis(std::pair<Vector, Vector> const& basis) {
        auto const& [edgeU, edgeV] = basis;
        double const uu = edgeU.dot(edgeU);
        double const uv = edgeU.dot(edgeV);
        double const vv = edgeV.dot(edgeV);
        determinant = uu * vv - uv * uv;
        u = (vv * edgeU - uv * edgeV) / determinant;
        v = (uu * edgeV - uv * edgeU) / determinant;
    }

    Vector u;
    Vector v;

    /// The squared area of the parallelogram of the edges.
    double determinant;
};

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
