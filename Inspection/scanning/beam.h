#pragma once

#include "apps/cscan/names.h"

namespace cscan {

/// One firing of the probe. The direction points away from the probe and need not have unit length.
struct Beam {
    Point origin;
    Vector direction;
};

} // namespace cscan
