#pragma once

#include "Inspection/scanning/hit.h"
#include "Inspection/scanning/internal/quadtree.h"

namespace QELT::Inspection {

/// The quad nearest to a place, as `SureSearch::findNearest` tells it.
Hit nearestHit(QuadTree const& tree, Point const& place);

} // namespace QELT::Inspection
