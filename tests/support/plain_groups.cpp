#include "tests/support/plain_groups.h"

#include <algorithm>

namespace QELT::Testing {

namespace {

constexpr double fullTurn = 6.283185307179586;

double errorOf(PlainStatus const& status) {
    return fullTurn * 0.5 - status.data.angleToObjectNormal;
}

/// The query of either level: `ask` a member for its answer.
template <class Members, class Ask>
PlainAnswer askMembers(Members& members, bool& isLastGood, std::vector<int>& asked,
                       PlainSearchSettings const& settings, Ask ask) {
    PlainAnswer best;
    bool isImproved = false;
    int winner = -1;
    asked.clear();
    for (auto& [number, member] : members) {
        PlainAnswer const candidate = ask(number, member);
        asked.push_back(number);
        if (plainIsBetter(settings, best.status, candidate.status)) {
            best = candidate;
            isImproved = true;
            winner = number;
        }
        if (isImproved && isLastGood && settings.qualityMode == 0) {
            break;
        }
    }
    if (!isImproved) {
        isLastGood = false;
        return best;
    }
    auto const found =
        std::find_if(members.begin(), members.end(), [&](auto const& m) { return m.first == winner; });
    auto const moved = *found;
    members.erase(found);
    members.insert(members.begin(), moved);
    isLastGood = plainIsGood(settings, best.status);
    return best;
}

} // namespace

bool plainIsGood(PlainSearchSettings const& settings, PlainStatus const& status) {
    if (!status.isValid) {
        return false;
    }
    return settings.qualityMode != 0 || fullTurn * 0.25 > errorOf(status);
}

bool plainIsBetter(PlainSearchSettings const& settings, PlainStatus const& best, PlainStatus const& other) {
    bool const isModeKnown = settings.qualityMode >= 0 && settings.qualityMode <= 2;
    if (!isModeKnown || !other.isValid) {
        return false;
    }
    if (!best.isValid) {
        return true;
    }
    if (settings.qualityMode == 2) {
        return errorOf(best) > errorOf(other);
    }
    double const quarter = fullTurn * 0.25;
    if (settings.qualityMode == 0 && errorOf(other) < quarter && errorOf(best) > quarter) {
        return true;
    }
    return best.data.distanceToObject > other.data.distanceToObject;
}

PlainAnswer PlainGroup::getIntersectionStatus(PlainSearchSettings const& settings, PlainPoint const& origin,
                                              PlainVector const& direction, bool doReset) {
    return askMembers(members, isLastIntersectionGood, asked, settings,
                      [&](int number, PlainSearch& member) -> PlainAnswer {
                          return {number, member.getIntersectionStatus(settings, origin, direction, doReset)};
                      });
}

PlainAnswer PlainGroups::getIntersectionStatus(PlainSearchSettings const& settings, PlainPoint const& origin,
                                               PlainVector const& direction, bool doReset) {
    return askMembers(groups, isLastIntersectionGood, asked, settings, [&](int, PlainGroup& group) {
        return group.getIntersectionStatus(settings, origin, direction, doReset);
    });
}

PlainIndexBox plainUnited(std::vector<PlainIndexBox> const& boxes) {
    PlainIndex low;
    PlainIndex high;
    for (PlainIndexBox const& box : boxes) {
        low.u = std::min(low.u, box.low.u);
        low.v = std::min(low.v, box.low.v);
        high.u = std::max(high.u, box.low.u + box.size.u);
        high.v = std::max(high.v, box.low.v + box.size.v);
    }
    return {low, high - low};
}

} // namespace QELT::Testing
