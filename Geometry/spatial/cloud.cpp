#include "Geometry/spatial/cloud.h"

namespace QELT::Geometry::ThreeDimensional::PointCloud {

Cloud::Cloud(Cloud const& /*other*/) {} // NOLINT(bugprone-copy-constructor-init): not a copy by design

Cloud& Cloud::operator=(Cloud const& /*other*/) { // NOLINT(bugprone-unhandled-self-assignment)
    return *this;
}

} // namespace QELT::Geometry::ThreeDimensional::PointCloud
