#include "Geometry/quadmesh/linearscalerectmesh.h"

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

ThreeDimensional::Point LinearScaleRectMesh::getPoint(TwoDimensional::Point<int> const& p) const {
    ThreeDimensional::Point const origin;
    return origin + scale * (RectMesh::getPoint(p) - origin);
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
