#include "Geometry/quadmesh/edge.h"

#include "Geometry/quadmesh/rectmesh.h"

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

bool Edge::isValid() const {
    return mesh->getIsPointValid(org()) && mesh->getIsPointValid(dest());
}

bool Edge::isQuadValid() const {
    Edge edge = *this;
    while (edge.orientation != PositiveU) {
        edge = edge.rot();
    }
    return mesh->getIsQuadValid(edge.org());
}

bool Edge::isBoundary() const {
    return isQuadValid() && !oprev().isQuadValid();
}

ThreeDimensional::Point Edge::vphiorg3() const {
    return mesh->getPoint(org());
}

ThreeDimensional::Point Edge::vphidest3() const {
    return mesh->getPoint(dest());
}

TwoDimensional::Vector<int> Edge::getStep(Orientation orientation) {
    switch (orientation) {
    case PositiveU:
        return {1, 0};
    case PositiveV:
        return {0, 1};
    case NegativeU:
        return {-1, 0};
    default:
        return {0, -1};
    }
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
