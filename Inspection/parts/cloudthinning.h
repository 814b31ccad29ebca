#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"

#include <vector>

namespace QELT::Inspection {

/// The points, in their order, without those nearer than `distance` to one that stays before them: no two of
/// the rest are nearer than that, and every point that went is nearer than that to one of the rest. None is
/// moved. Takes time in proportion to their number. Fails unless the distance is above 0 and finite.
QELT_INSPECTION_EXPORT std::vector<Point> thinned(std::vector<Point> const& points, double distance);

} // namespace QELT::Inspection
