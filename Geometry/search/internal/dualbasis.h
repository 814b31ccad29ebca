#pragma once

#include "Geometry/search/internal/pairs.h"

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

/// The basis dual to the two edges of a quad, which tells the coordinates of a displacement along the edges.
/// Not finite for parallel edges.
class DualBasis {
public:
    /// From the edges along u and v.
    explicit DualBasis(VectorPair const& edges)
        : DualBasis(edges, edges.swapped(), edges.dot(edges), edges.dot(edges.swapped())) {}

    /// The inner products of a displacement with the vectors of the basis. Those are divided here, so that
    /// divisions on which the displacement waits go first.
    DoublePair getCoordinates(Vector const& way) const {
        return VectorPair(way).dot(multiples / determinants);
    }

    /// The squared area of the parallelogram of the edges.
    double getDeterminant() const { return determinants[0]; }

private:
    DualBasis(VectorPair const& edges, VectorPair const& others, DoublePair const& squares,
              DoublePair const& products)
        : determinants(squares * squares.swapped() - products * products),
          multiples(edges * squares.swapped() - others * products) {}

    DoublePair determinants; ///< the same one twice
    VectorPair multiples;    ///< the vectors of the basis times the determinant
};

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
