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

    /// The inner products of a displacement with the vectors of the basis.
    DoublePair getCoordinates(Vector const& way) const { return VectorPair(way).dot(vectors); }

    /// The squared area of the parallelogram of the edges.
    double getDeterminant() const { return determinants[0]; }

private:
    DualBasis(VectorPair const& edges, VectorPair const& others, DoublePair const& squares,
              DoublePair const& products)
        : determinants(squares * squares.swapped() - products * products),
          vectors((edges * squares.swapped() - others * products) / determinants) {}

    DoublePair determinants; ///< the same one twice
    VectorPair vectors;
};

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
