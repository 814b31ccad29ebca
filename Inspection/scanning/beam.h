#pragma once

#include "Inspection/names.h"

namespace QELT::Inspection {

/// One firing of the probe. The direction points away from the probe and need not have unit length.
struct Beam {
    Point origin;
    Vector direction;
};

} // namespace QELT::Inspection
