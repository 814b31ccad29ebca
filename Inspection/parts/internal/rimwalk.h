#pragma once

#include "Inspection/parts/internal/facetopology.h"
#include "Inspection/parts/partanalysis.h"

#include <vector>

namespace QELT::Inspection {

/// The rims of faces, in the order of their first sides, with points, turning and whether they close; not
/// measured, and of no piece yet. `firstFaces` receives for each a face that it runs along. `fanAngles` holds
/// the sum of the angles of each fan.
struct WalkedRims {
    std::vector<PartRim> rims;
    std::vector<std::size_t> firstFaces;
};

WalkedRims walkRims(FaceTopology const& topology, std::vector<double> const& fanAngles);

} // namespace QELT::Inspection
