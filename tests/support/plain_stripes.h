#pragma once

#include "tests/support/plain_grid.h"
#include "tests/support/plain_search.h"

#include <cstdint>
#include <utility>
#include <vector>

namespace QELT::Testing {

/// The cells of the line from `a` to `b`, walked toward growing u, without the last one.
std::vector<PlainIndex> plainRaster(PlainIndex a, PlainIndex b);

/// One beam of a run.
struct PlainShot {
    /// Which of the lines.
    std::uint32_t line = 0;
    PlainIndex at;
    PlainIndex next;
    PlainIndex cell;
    PlainPoint origin;
    bool didPass = false;
};

/// What a run of the stripe test drew, fired and counted.
struct PlainStripeRun {
    std::vector<std::pair<PlainIndex, PlainIndex>> lines;
    std::vector<PlainShot> shots;
    std::vector<std::pair<PlainIndex, PlainIndex>> failedLines;
    std::uint32_t numberOfPasses = 0;
    std::uint32_t numberOfFailures = 0;
    std::uint32_t rejectedLines = 0;
};

/// The stripe test on a plain search, whose memory goes on from where it stands. Draws from `rand`.
PlainStripeRun plainStripes(PlainSearch& search, PlainSearchSettings const& settings, double minQuadArea,
                            std::uint32_t numberOfTests, double elementPitch, std::uint32_t numberOfElements);

} // namespace QELT::Testing
