#pragma once

#include "Geometry/foundations/export.h"
#include "Geometry/quadmesh/rectmesh.h"

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

/// A grid that shows other points than it stores: every reader of geometry, the search and the files
/// included, goes through `getPoint`, which a derived class gives a meaning. Areas stay as they were settled
/// when the grid was filled.
class QELT_EXPORT TransformedRectMesh : public RectMesh {
public:
    TransformedRectMesh() = default;

    /// Shares the rows with the source, as the base class does.
    TransformedRectMesh(TransformedRectMesh const&) = default;
    TransformedRectMesh& operator=(TransformedRectMesh const&) = default;

    ThreeDimensional::Point getPoint(TwoDimensional::Point<int> const& p) const override = 0;
};

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
