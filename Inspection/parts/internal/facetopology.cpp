#include "Inspection/parts/internal/facetopology.h"

#include "Inspection/parts/internal/joinedsets.h"

#include <algorithm>
#include <limits>
#include <utility>

// Nothing is asked of the faces but three different corners: so that faults can be named, not met. Sides are
// the runs of equal keys in a sorted list of all corners, a key being the two ends of a side, the lower one
// first. Fans and pieces are joined sets, of corners and of faces; at a side of more than two faces all of
// them are joined, so that the points at its ends are not told as faults of their own. Sheets end at such a
// side: which face there should go on into which other nobody knows. Cost: one sort of the corners; all else
// is linear, but for the joined sets' chains, which are short.

namespace QELT::Inspection {

namespace {

constexpr std::size_t none = std::numeric_limits<std::size_t>::max();

/// Numbers sets from 0 in the order of their first members.
struct NumberedSets {
    std::vector<std::size_t> numbers;
    std::size_t count = 0;
};

NumberedSets numbered(JoinedSets& sets, std::size_t memberCount) {
    NumberedSets result;
    result.numbers.assign(memberCount, none);
    for (std::size_t i = 0; i < memberCount; ++i) {
        std::size_t const first = sets.setOf(i);
        result.numbers[i] = first == i ? result.count++ : result.numbers[first];
    }
    return result;
}

/// Lays the directions of a sheet's faces, one neighbour after the other.
class SheetWalk {
public:
    SheetWalk(FaceTopology const& faceTopology, Windings& windingsToFill)
        : topology(faceTopology), windings(windingsToFill) {}

    void walkFrom(std::size_t face) {
        sheet = windings.isOrientable.size();
        windings.isOrientable.push_back(true);
        windings.sheets[face] = sheet;
        waiting.push_back(face);
        while (!waiting.empty()) {
            std::size_t const next = waiting.back();
            waiting.pop_back();
            for (Corner corner = 3 * next; corner < 3 * next + 3; ++corner) {
                cross(corner);
            }
        }
    }

private:
    FaceTopology const& topology;
    Windings& windings;
    std::vector<std::size_t> waiting;
    std::size_t sheet = 0;

    void cross(Corner corner) {
        auto const atSide = topology.cornersAt(topology.sideOf(corner));
        if (atSide.size() != 2) {
            return;
        }
        Corner const other = atSide[0] == corner ? atSide[1] : atSide[0];
        bool const isTurned = windings.isTurned[corner / 3] != topology.isSameWay(corner, other);
        if (windings.sheets[other / 3] == none) {
            windings.sheets[other / 3] = sheet;
            windings.isTurned[other / 3] = isTurned;
            waiting.push_back(other / 3);
        } else if (windings.isTurned[other / 3] != isTurned) {
            windings.isOrientable[sheet] = false;
        }
    }
};

} // namespace

FaceTopology::FaceTopology(std::vector<Face> const& faces, std::size_t pointCount) : faceList(faces) {
    collectSides();
    collectFans(pointCount);
    collectPieces();
}

void FaceTopology::collectSides() {
    std::vector<std::pair<std::uint64_t, Corner>> keyed;
    keyed.reserve(3 * faceList.size());
    for (Corner corner = 0; corner < 3 * faceList.size(); ++corner) {
        auto const [low, high] = std::minmax({pointAt(corner), pointAt(nextCorner(corner))});
        keyed.emplace_back((std::uint64_t{low} << 32U) | high, corner);
    }
    std::sort(keyed.begin(), keyed.end());
    corners.reserve(keyed.size());
    sides.resize(keyed.size());
    for (std::size_t i = 0; i < keyed.size(); ++i) {
        if (i > 0 && keyed[i].first != keyed[i - 1].first) {
            sideEnds.push_back(i);
        }
        corners.push_back(keyed[i].second);
        sides[keyed[i].second] = sideEnds.size();
    }
    if (!keyed.empty()) {
        sideEnds.push_back(keyed.size());
    }
}

void FaceTopology::collectFans(std::size_t pointCount) {
    JoinedSets sets(corners.size());
    for (std::size_t side = 0; side < sideCount(); ++side) {
        auto const atSide = cornersAt(side);
        Corner const first = atSide.front();
        for (Corner const other : atSide.subspan(1)) {
            bool const isSame = isSameWay(first, other);
            sets.join(first, isSame ? other : nextCorner(other));
            sets.join(nextCorner(first), isSame ? nextCorner(other) : other);
        }
    }
    auto [numbers, count] = numbered(sets, corners.size());
    fans = std::move(numbers);
    numberOfFans = count;
    fansAtPoint.assign(pointCount, 0);
    std::size_t toldFans = 0;
    for (Corner corner = 0; corner < fans.size(); ++corner) {
        if (fans[corner] == toldFans) {
            ++toldFans;
            ++fansAtPoint[pointAt(corner)];
        }
    }
}

void FaceTopology::collectPieces() {
    JoinedSets sets(faceList.size());
    for (std::size_t side = 0; side < sideCount(); ++side) {
        auto const atSide = cornersAt(side);
        for (Corner const other : atSide.subspan(1)) {
            sets.join(atSide.front() / 3, other / 3);
        }
    }
    auto [numbers, count] = numbered(sets, faceList.size());
    pieces = std::move(numbers);
    numberOfPieces = count;
}

Windings windingsOf(FaceTopology const& topology, std::size_t faceCount) {
    Windings windings;
    windings.isTurned.assign(faceCount, false);
    windings.sheets.assign(faceCount, none);
    SheetWalk walk(topology, windings);
    for (std::size_t face = 0; face < faceCount; ++face) {
        if (windings.sheets[face] == none) {
            walk.walkFrom(face);
        }
    }
    return windings;
}

} // namespace QELT::Inspection
