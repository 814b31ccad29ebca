#include "apps/cscan/report/report.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace cscan {
namespace {

TEST(FlatteningReport, tellsTheSolvesOfBothModes) {
    EXPECT_EQ(linesOf({{{8193, 9e-21, true}}, 0.0}),
              (std::vector<std::string>{"map: 8193 iterations, residual 9e-21, converged"}));
    EXPECT_EQ(linesOf({{{48077, 1e-20, true}, {}}, 0.0}),
              (std::vector<std::string>{"boundary: 48077 iterations, residual 1e-20, converged",
                                        "inside: 0 iterations, not converged: the last iterate is used"}));
}

} // namespace
} // namespace cscan
