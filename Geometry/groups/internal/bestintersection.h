#pragma once

#include "Geometry/quadmesh/quadindicesintersectionstatus.h"

#include <utility>

// The search of a group, and that of the group of groups, which is the same one level up.
//
// 1. Ask the members front to back, each starting where its own last hit was.
// 2. Keep the best answer by `QuadIndicesIntersectionStatus::getIsBetterIntersection`; of equals the first.
// 3. Move the member that gave it to the front (`mtf_list`): the next beam of a scan most likely meets it
// too.
// 4. If the last query was good, stop at the first hit, which that member mostly has.
//
// The stop is for the mode `AngleThenDistance` alone: the nearest or the straightest hit of the other modes
// needs all answers. Odd on purpose: the stop asks whether the last hit was good and not whether this one is.
// A poor hit of the front member ends this query too, and only the next one asks everyone. Whether a hit is
// good is the one limit here, a quarter turn from head-on: a narrower one asks everyone more often, a wider
// one stays longer on a grid that the beam sees from behind while another faces it.
//
// No box around a grid spares asking it: by rounding a sliver is met far beyond its corners, and a query of a
// grid changes what the grid remembers even on a miss.
//
// Cost: one member's search on a good run, every member's otherwise; nothing is allocated. Beams in no order
// cost what the cold walks past the grids that they miss cost.

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

/// Asks the members of a list, front to back, keeps the best answer and brings the member that gave it to the
/// front. If the last query was good, a first hit ends this one in the mode `AngleThenDistance`, good or not.
/// `isLastIntersectionGood` is brought up to date.
template <class List, class Ask>
QuadIndicesIntersectionStatus getBestIntersection(List& members, bool& isLastIntersectionGood, Ask ask) {
    auto const mode = QuadIndicesIntersectionStatus::getIntersectionQualityMode();
    bool const doStopAtFirst =
        isLastIntersectionGood && mode == QuadIndicesIntersectionStatus::AngleThenDistance;
    QuadIndicesIntersectionStatus best;
    auto winner = members.end();
    for (auto member = members.begin(); member != members.end(); ++member) {
        QuadIndicesIntersectionStatus candidate = ask(*member);
        if (best.getIsBetterIntersection(candidate)) {
            best = std::move(candidate);
            winner = member;
        }
        if (winner != members.end() && doStopAtFirst) {
            break;
        }
    }
    isLastIntersectionGood = winner != members.end() && best.getIsGoodIntersection();
    if (winner != members.end()) {
        members.bring_to_front(winner);
    }
    return best;
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
