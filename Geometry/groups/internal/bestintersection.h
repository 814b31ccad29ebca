#pragma once

#include "Geometry/quadmesh/quadindicesintersectionstatus.h"

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
        QuadIndicesIntersectionStatus const candidate = ask(*member);
        if (best.getIsBetterIntersection(candidate)) {
            best = candidate;
            winner = member;
        }
        if (winner != members.end() && doStopAtFirst) {
            break;
        }
    }
    isLastIntersectionGood = winner != members.end() && best.getIsGoodIntersection();
    if (winner != members.end()) {
        members.move_to_front(*winner);
    }
    return best;
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
