#pragma once

#include "tests/support/plain_connectivity.h"

#include <cstdint>
#include <vector>

namespace QELT::Testing {

/// Why no cut was made, or that one was.
enum class PlainCutOutcome {
    cut,
    noBoundary,
    endsOnPlane,
    noSpoke,
    alongBoundary,
    meetsItself,
    entersOtherFan,
};

/// Slits the mesh from the extreme boundary vertex along `axis` to another one. Unless it is cut, the mesh is
/// left alone but for its cut, which is emptied.
PlainCutOutcome plainMakeCut(PlainMesh& mesh, bool isMaximum, std::uint32_t axis,
                             std::uint32_t perpendicularAxis);

} // namespace QELT::Testing
