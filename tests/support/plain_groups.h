#pragma once

#include "tests/support/plain_search.h"

#include <cstdint>
#include <utility>
#include <vector>

/// Groups of plain grids and groups of these, as vectors that are reordered by hand.
namespace QELT::Testing {

bool plainIsGood(PlainSearchSettings const& settings, PlainStatus const& status);

/// Whether `other` takes the place of `best`.
bool plainIsBetter(PlainSearchSettings const& settings, PlainStatus const& best, PlainStatus const& other);

/// A status and the number of the member that gave it; -1 and a default status for none.
struct PlainAnswer {
    int member = -1;
    PlainStatus status;
};

struct PlainGroup {
    /// Numbers and grids, the most recently successful first.
    std::vector<std::pair<int, PlainSearch>> members;
    bool isLastIntersectionGood = false;

    /// The members asked by the last query, in turn.
    std::vector<int> asked;

    PlainAnswer getIntersectionStatus(PlainSearchSettings const& settings, PlainPoint const& origin,
                                      PlainVector const& direction, bool doReset);
};

struct PlainGroups {
    std::vector<std::pair<int, PlainGroup>> groups;
    bool isLastIntersectionGood = false;

    /// The groups asked by the last query, in turn.
    std::vector<int> asked;

    PlainAnswer getIntersectionStatus(PlainSearchSettings const& settings, PlainPoint const& origin,
                                      PlainVector const& direction, bool doReset);
};

struct PlainIndexBox {
    PlainIndex low;
    PlainIndex size;

    bool operator==(PlainIndexBox const&) const = default;
};

/// The least box around the origin and the boxes, without wrap-around.
PlainIndexBox plainUnited(std::vector<PlainIndexBox> const& boxes);

} // namespace QELT::Testing
