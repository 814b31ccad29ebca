#include "Geometry/quadmesh/quadvaliditygenerator.h"

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

bool QuadValidityGenerator::getValidity(TwoDimensional::Point<int> const& /*quad*/) {
    return false;
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
