#pragma once

#include "Inspection/export.h"
#include "Inspection/maps/flattening.h"
#include "Inspection/maps/mapquality.h"
#include "Inspection/names.h"
#include "Inspection/parts/meshsummary.h"

#include <cstddef>
#include <string>
#include <vector>

namespace QELT::Inspection {

/// The share of turned triangles up to which a map is fit for inspection.
constexpr double bearableTurnedShare = 0.001;

/// "pinned", "developable"
QELT_INSPECTION_EXPORT std::string nameOf(FlatteningMode mode);

/// One of the maps that a part could be inspected on, and what is known of it.
struct MapCandidate {
    FlatteningMode mode = FlatteningMode::Pinned;
    std::string refusal; ///< why the core makes no such map of this mesh; empty where it does
    FlatteningReport flattening;
    FlatSummary flat;
    MapQuality quality;

    bool isMade() const { return refusal.empty(); }

    bool isSolved() const { return isMade() && flattening.isTrustworthy(); }

    /// Whether it is solved, turns over next to nothing, and keeps areas alike.
    QELT_INSPECTION_EXPORT bool isFit() const;
};

/// Flattens the mesh and measures the map. What the core refuses, and a map without area, is the candidate's
/// refusal; other exceptions pass.
QELT_INSPECTION_EXPORT MapCandidate candidateOf(Mesh& mesh, FlatteningOptions const& options,
                                                ProgressListener* listener);

/// The place in a list, not empty, of the candidate to take: a map that is made before one that is not, a
/// solved one, a fit one; then the one that turns over fewer triangles, then the one that is truer to areas,
/// then the earlier one.
QELT_INSPECTION_EXPORT std::size_t bestOf(std::vector<MapCandidate> const& candidates);

} // namespace QELT::Inspection
