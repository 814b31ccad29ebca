#include "apps/cscan/surface/flattening.h"

#include "tests/support/capturedoutput.h"
#include "tests/support/meshfamilies.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace cscan {
namespace {

std::unique_ptr<Mesh> patch() {
    return QELT::Testing::makeMesh(QELT::Testing::makeWavyPatch(9, 9));
}

TEST(Flattening, tellsTheSolvesOfBothModes) {
    std::ostringstream messages;
    ProgressDisplay display(messages, false);
    auto const rolledOut = patch();
    FlatteningReport const both = flatten(*rolledOut, FlatteningMode::Developable, display);
    ASSERT_TRUE(both.solves.boundary && both.solves.inside);
    EXPECT_TRUE(both.solves.boundary->hasConverged && both.solves.inside->hasConverged);
    EXPECT_GT(both.solves.inside->iterations, 10U);
    auto const pinned = patch();
    FlatteningReport const one = flatten(*pinned, FlatteningMode::Pinned, display);
    EXPECT_FALSE(one.solves.boundary);
    ASSERT_TRUE(one.solves.inside);
    EXPECT_EQ(linesOf(one).size(), 1U);
    EXPECT_EQ(messages.str().find("Residual"), std::string::npos);
}

TEST(Flattening, leavesTheStandardOutputAsItWas) {
    std::ostringstream messages;
    ProgressDisplay display(messages, false);
    auto const mesh = patch();
    QELT::Testing::CapturedOutput const output;
    flatten(*mesh, FlatteningMode::Pinned, display);
    EXPECT_EQ(output.getText(), "");
    std::cout << "findings";
    EXPECT_EQ(output.getText(), "findings");
    std::cout.setstate(std::ios_base::failbit);
    flatten(*mesh, FlatteningMode::Pinned, display);
    EXPECT_TRUE(std::cout.fail()) << "a failure from before is not forgotten";
    std::cout.clear();
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
