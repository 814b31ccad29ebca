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

/// Of conjugate gradients.
FlatteningReport reportOf(std::optional<SolveReport> const& boundary,
                          std::optional<SolveReport> const& inside) {
    FlatteningReport report;
    report.solves = {boundary, inside};
    return report;
}

TEST(Flattening, saysHowEachSolveEnded) {
    double const noNumber = std::nan("");
    EXPECT_EQ(linesOf(reportOf(std::nullopt, SolveReport{8193, 9e-21, true})),
              (std::vector<std::string>{"map: 8193 iterations, residual 9e-21, converged"}));
    EXPECT_EQ(linesOf(reportOf(SolveReport{48077, 1e-20, true}, SolveReport{0, noNumber, false})),
              (std::vector<std::string>{"boundary: 48077 iterations, residual 1e-20, converged",
                                        "inside: 0 iterations, not converged: the last iterate is used"}));
    EXPECT_EQ(
        linesOf(reportOf(SolveReport{262144, 3e-5, false}, std::nullopt)),
        (std::vector<std::string>{"boundary: 262144 iterations, residual 3e-05, not converged: the last "
                                  "iterate is used"}));
}

TEST(Flattening, saysHowADirectSolverCameToItsSolutions) {
    FlatteningReport report{{SolveReport{2, 6e-12, true, 3.0}, SolveReport{1, 4e-16, true, 2.0}},
                            0.0,
                            SolverKind::Direct,
                            DirectSolve{DirectSolveState::Solved, 1e-17, 3e-14},
                            DirectSolve{DirectSolveState::SolvedByLu, 1e-17, 5e-10},
                            ""};
    EXPECT_EQ(
        linesOf(report),
        (std::vector<std::string>{
            "boundary: direct, 2 refinements, residual 2e-12 of the right side, uncertain by 3e-14, "
            "converged",
            "inside: by LU, 1 refinement, residual 2e-16 of the right side, uncertain by 5e-10, converged"}));
    double const noNumber = std::nan("");
    report.solves = {std::nullopt, SolveReport{0, noNumber, false, 2.0}};
    report.inside = DirectSolve{DirectSolveState::NotFinite, noNumber, noNumber};
    EXPECT_EQ(linesOf(report),
              (std::vector<std::string>{"map: direct, 0 refinements, not converged: what it has is used"}));
}

} // namespace
} // namespace cscan
