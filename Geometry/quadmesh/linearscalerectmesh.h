#pragma once

#include "Geometry/foundations/export.h"
#include "Geometry/quadmesh/transformedrectmesh.h"

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

/// A grid shown at a scale about the origin.
class QELT_EXPORT LinearScaleRectMesh : public TransformedRectMesh {
public:
    LinearScaleRectMesh() = default;

    /// Shares the rows with the source and takes its scale.
    LinearScaleRectMesh(LinearScaleRectMesh const&) = default;

    /// Copies the stored points, as `RectMesh::operator=`, and the scale.
    LinearScaleRectMesh& operator=(LinearScaleRectMesh const&) = default;

    /// The stored point times the scale.
    ThreeDimensional::Point getPoint(TwoDimensional::Point<int> const& p) const override;

    /// Any value, 0 included. Areas, flags and search points stay as they are.
    void setScale(double const& newScale) { scale = newScale; }

private:
    double scale = 1.0;
};

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
