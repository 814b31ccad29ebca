#pragma once

#include "tests/support/plain_grid.h"

#include <cstdint>
#include <functional>

namespace QELT::Testing {

/// What a grid shows for a point that it stores.
using PlainView = std::function<PlainPoint(PlainPoint const& stored)>;

/// The stored points as they are.
PlainPoint plainAsStored(PlainPoint const& stored);

/// Every point of the grid as it shows; flags as they are.
PlainGrid plainShown(PlainGrid const& stored, PlainView const& view);

/// Nodes as stored and as the flag bytes say, whatever the class of the grid shows.
PlainGrid plainStoredGridOf(Geometry::ThreeDimensional::QuadMesh::RectMesh const& grid);

/// Boundary extension, stop by stop: `passes` steps outward, each followed by `smoothingPasses` smoothings of
/// the new boundary. `stored` holds what the grid stores; what is read for invented points goes through
/// `view`. False, with `stored` as the last complete pass left it, if there is no boundary.
bool plainExtendBoundary(PlainGrid& stored, std::uint32_t passes, std::uint32_t smoothingPasses,
                         PlainView const& view = plainAsStored);

} // namespace QELT::Testing
