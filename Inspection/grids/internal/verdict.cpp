#include "Inspection/grids/internal/verdict.h"

#include "Inspection/records/numbers.h"

namespace QELT::Inspection {

namespace {

std::string percent(double share, int decimals) {
    return toFixedText(100.0 * share, decimals) + " %";
}

std::string remedyFor(std::vector<MapCandidate> const& maps, std::string const& ifBothWereTried) {
    return maps.size() > 1 ? ifBothWereTried : "leave --mode out, which tries both; else " + ifBothWereTried;
}

} // namespace

std::vector<Shortcoming> shortcomingsOf(std::vector<MapCandidate> const& maps, std::size_t chosen,
                                        CutOutRemedy const& cutOut) {
    MapCandidate const& map = maps.at(chosen);
    std::vector<Shortcoming> shortcomings;
    if (!map.isSolved()) {
        shortcomings.push_back({"the flat map cannot be trusted: " + map.flattening.doubt,
                                remedyFor(maps, "look at the part with 'cscan check' and repair it with "
                                                "'cscan import --repair'")});
    }
    if (map.quality.turnedShare() > bearableTurnedShare) {
        shortcomings.push_back({percent(map.quality.turnedShare(), 2) +
                                    " of the triangles are turned over in the flat map and leave holes",
                                remedyFor(maps, cutOut())});
    }
    return shortcomings;
}

std::vector<Shortcoming> shortcomingsOf(QuadSizes const& sizes, NanNodes const& nodes,
                                        CutOutRemedy const& cutOut) {
    std::vector<Shortcoming> shortcomings;
    if (!nodes.places.empty()) {
        shortcomings.push_back({"there are nodes without a place (" + std::to_string(nodes.places.size()) +
                                    "), from triangles without flat area (" +
                                    std::to_string(nodes.triangleCount) + ")",
                                "take triangles without area out with 'cscan import --repair'"});
    }
    if (sizes.alikeShare() < alikeNeeded) {
        shortcomings.push_back({"only " + percent(sizes.alikeShare(), 1) +
                                    " of the quads are within a factor of " +
                                    toShortText(bearableAreaFactor, 2) + " of their median area",
                                cutOut()});
    }
    return shortcomings;
}

} // namespace QELT::Inspection
