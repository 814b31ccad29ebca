#pragma once

#include "tests/support/float_bits.h"

#include <gtest/gtest.h>

#include <vector>

namespace QELT::Testing {

/// Whether all checks of a fit's numbers hold, those of its residuals, bit for bit, among them.
inline testing::AssertionResult allHold(std::vector<testing::AssertionResult> checks,
                                        std::vector<double> const& residuals,
                                        std::vector<double> const& expectedResiduals) {
    if (residuals.size() != expectedResiduals.size()) {
        return testing::AssertionFailure() << residuals.size() << " residuals";
    }
    for (std::size_t i = 0; i < residuals.size(); ++i) {
        checks.push_back(sameBits(residuals[i], expectedResiduals[i]));
    }
    for (std::size_t i = 0; i < checks.size(); ++i) {
        if (!checks[i]) {
            return testing::AssertionFailure() << "number " << i << ": " << checks[i].message();
        }
    }
    return testing::AssertionSuccess();
}

} // namespace QELT::Testing
