#include "Inspection/maps/mapcandidate.h"

#include <algorithm>
#include <stdexcept>
#include <tuple>

namespace QELT::Inspection {

namespace {

/// Of two candidates the one with the lesser rank is taken.
auto rankOf(MapCandidate const& candidate) {
    return std::tuple(!candidate.isMade(), !candidate.isSolved(), !candidate.isFit(),
                      candidate.quality.turnedCount, candidate.quality.areaSpread);
}

} // namespace

std::string nameOf(FlatteningMode mode) {
    return mode == FlatteningMode::Pinned ? "pinned" : "developable";
}

bool MapCandidate::isFit() const {
    return isSolved() && quality.turnedShare() <= bearableTurnedShare && quality.alikeShare >= alikeNeeded;
}

MapCandidate candidateOf(Mesh& mesh, FlatteningOptions const& options, ProgressListener* listener) {
    MapCandidate candidate;
    candidate.mode = options.mode;
    try {
        candidate.flattening = flatten(mesh, options, listener);
        candidate.flat = flatSummaryOf(mesh, trianglesOf(mesh));
        candidate.quality = mapQualityOf(mesh);
        if (!(candidate.quality.areaRatio > 0.0)) {
            candidate.refusal = candidate.flattening.isTrustworthy()
                                    ? "the flat map has no triangle with an area that is not turned over"
                                    : candidate.flattening.doubt;
        }
    } catch (std::runtime_error const& error) {
        candidate.refusal = error.what();
    }
    return candidate;
}

std::size_t bestOf(std::vector<MapCandidate> const& candidates) {
    auto const best = std::min_element(candidates.begin(), candidates.end(),
                                       [](auto const& a, auto const& b) { return rankOf(a) < rankOf(b); });
    return static_cast<std::size_t>(best - candidates.begin());
}

} // namespace QELT::Inspection
