#pragma once

#include "Inspection/parts/facemesh.h"

#include <vector>

namespace QELT::Inspection {

/// Marks triangles that lie over others of the same sheet: both face the same way, their outlines overlap as
/// seen from there, and neither is farther than `reach` from the other. Taken by their circumscribed circles,
/// the smallest first, one is marked if it lies over one that is not.
std::vector<bool> overlappingFaces(FaceMesh const& mesh, double reach);

} // namespace QELT::Inspection
