#include "apps/cscan/report/report.h"

#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace cscan {
namespace {

TEST(Report, tellsOfNodesThatAreNoNumber) {
    std::ostringstream output;
    printNanNodes(output, {});
    EXPECT_EQ(output.str(), "");
    printNanNodes(output, {{GridIndex(1, 1), GridIndex(2, 2)}, 1});
    EXPECT_EQ(output.str(),
              "NaN nodes           2 valid nodes are no number, from 1 triangle without flat area\n");
}

TEST(Flattening, saysHowEachSolveEnded) {
    double const noNumber = std::nan("");
    EXPECT_EQ(linesOf({{std::nullopt, SolveReport{8193, 9e-21, true}}, 0.0}),
              (std::vector<std::string>{"map: 8193 iterations, residual 9e-21, converged"}));
    EXPECT_EQ(linesOf({{SolveReport{48077, 1e-20, true}, SolveReport{0, noNumber, false}}, 0.0}),
              (std::vector<std::string>{"boundary: 48077 iterations, residual 1e-20, converged",
                                        "inside: 0 iterations, not converged: the last iterate is used"}));
    EXPECT_EQ(
        linesOf({{SolveReport{262144, 3e-5, false}, std::nullopt}, 0.0}),
        (std::vector<std::string>{"boundary: 262144 iterations, residual 3e-05, not converged: the last "
                                  "iterate is used"}));
}

} // namespace
} // namespace cscan
