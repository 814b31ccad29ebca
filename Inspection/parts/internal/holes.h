#pragma once

#include "Inspection/parts/facemesh.h"

#include <cstddef>

namespace QELT::Inspection {

/// Closes the holes of at most so many sides, all but the longest rim of each piece, and tells how many. Windings must
/// agree, sides have two faces at most, and the faces around each point hang together.
std::size_t closeHoles(FaceMesh& mesh, std::size_t largest);

} // namespace QELT::Inspection
