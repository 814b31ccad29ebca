#include "Geometry/quadmesh/quadintersectiondata.h"

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

bool QuadIntersectionData::isEnableFlipAngle = false;

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
