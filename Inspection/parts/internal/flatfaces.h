#pragma once

#include "Inspection/parts/facemesh.h"

#include <cstddef>

namespace QELT::Inspection {

/// A face of a lesser height than this share of its longest side has no normal to speak of: single precision
/// leaves seven digits.
inline constexpr double minHeightShare = 1e-6;

/// Makes faces without area part of their neighbours across their longest sides, which are divided at the
/// third point; at a rim they are left out. Tells how many there were. Faces must have three different
/// points.
std::size_t mendFlatFaces(FaceMesh& mesh);

} // namespace QELT::Inspection
