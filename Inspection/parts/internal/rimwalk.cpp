#include "Inspection/parts/internal/rimwalk.h"

#include <array>
#include <numbers>
#include <utility>

// A rim goes on from side to side around the fan between them: so it stays on its sheet where sheets meet in
// a point, and needs no windings that agree. A fan has two open sides as a rule, where the rim goes through,
// or none. Beside a side of more than two faces it may have another number: there walks end. Walks from such
// ends come first; what is left over are loops. Each side is walked once.

namespace QELT::Inspection {

namespace {

class RimWalk {
public:
    RimWalk(FaceTopology const& faceTopology, std::vector<double> const& angles)
        : topology(faceTopology), fanAngles(angles), openSides(faceTopology.fanCount()) {
        for (std::size_t side = 0; side < topology.sideCount(); ++side) {
            if (isOpen(side)) {
                for (Corner const end : endsOf(side)) {
                    note(side, topology.fanOf(end));
                }
            }
        }
        isWalked.assign(topology.sideCount(), false);
    }

    WalkedRims run() {
        for (std::size_t side = 0; side < topology.sideCount(); ++side) {
            for (Corner const end : endsOf(side)) {
                if (isOpen(side) && !goesThrough(topology.fanOf(end))) {
                    walk(side, end);
                }
            }
        }
        for (std::size_t side = 0; side < topology.sideCount(); ++side) {
            if (isOpen(side)) {
                walk(side, endsOf(side)[0]);
            }
        }
        return std::move(result);
    }

private:
    /// The open sides of a fan.
    struct OpenSides {
        std::size_t count = 0;
        std::array<std::size_t, 2> first{};
    };

    FaceTopology const& topology;
    std::vector<double> const& fanAngles;
    std::vector<OpenSides> openSides; ///< of each fan
    std::vector<bool> isWalked;
    WalkedRims result;

    bool isOpen(std::size_t side) const { return topology.cornersAt(side).size() == 1; }

    /// The corners at the side's two ends, in the direction of its face.
    std::array<Corner, 2> endsOf(std::size_t side) const {
        Corner const corner = topology.cornersAt(side).front();
        return {corner, nextCorner(corner)};
    }

    void note(std::size_t side, std::size_t fan) {
        OpenSides& open = openSides[fan];
        if (open.count < open.first.size()) {
            open.first.at(open.count) = side;
        }
        ++open.count;
    }

    bool goesThrough(std::size_t fan) const { return openSides[fan].count == 2; }

    /// The end of a side that lies in another fan than this one.
    Corner farEnd(std::size_t side, std::size_t fan) const {
        auto const ends = endsOf(side);
        return topology.fanOf(ends[0]) == fan ? ends[1] : ends[0];
    }

    /// Along one rim, from one end of a side on.
    void walk(std::size_t side, Corner from) {
        if (isWalked[side]) {
            return;
        }
        PartRim rim;
        rim.isClosed = false;
        result.firstFaces.push_back(from / 3);
        rim.points.push_back(topology.pointAt(from));
        std::size_t const first = side;
        std::size_t fan = topology.fanOf(from);
        while (!isWalked[side]) {
            isWalked[side] = true;
            Corner const to = farEnd(side, fan);
            fan = topology.fanOf(to);
            if (!goesThrough(fan)) {
                rim.points.push_back(topology.pointAt(to));
                break;
            }
            rim.turning += std::numbers::pi - fanAngles[fan];
            auto const& sides = openSides[fan].first;
            side = sides[0] == side ? sides[1] : sides[0];
            rim.isClosed = side == first;
            if (!rim.isClosed) {
                rim.points.push_back(topology.pointAt(to));
            }
        }
        result.rims.push_back(std::move(rim));
    }
};

} // namespace

WalkedRims walkRims(FaceTopology const& topology, std::vector<double> const& fanAngles) {
    return RimWalk(topology, fanAngles).run();
}

} // namespace QELT::Inspection
