#include "Inspection/maps/internal/solvermonitor.h"

#include <gtest/gtest.h>

#include <cmath>
#include <ostream>
#include <sstream>
#include <vector>

namespace QELT::Inspection {
namespace {

/// Writes a progress line piece by piece, as the library's solver does.
void writeProgress(std::ostream& output, double residual, int iterations) {
    output << "\r"
           << "Residual L2 norm"
           << ": " << residual << ".  ";
    output << "Iterations to Max. 262144"
           << ": " << static_cast<double>(iterations) << ".  ";
}

TEST(SolverMonitor, keepsTheLastIterationOfASolve) {
    SolverMonitor monitor({});
    std::ostream output(&monitor);
    monitor.beginSolve();
    writeProgress(output, 3.5, 1);
    writeProgress(output, 1.25e-7, 2);
    writeProgress(output, 9.87654e-21, 262144);
    output << "\n";
    monitor.finish();
    ASSERT_EQ(monitor.getSolves().size(), 1U);
    EXPECT_EQ(monitor.getSolves()[0].iterations, 262144U);
    EXPECT_EQ(monitor.getSolves()[0].residual, 9.87654e-21);
    EXPECT_FALSE(monitor.getHasFailureNotice());
}

TEST(SolverMonitor, tellsTwoSolvesApartWithoutANewLineBetween) {
    SolverMonitor monitor({});
    std::ostream output(&monitor);
    monitor.beginSolve();
    writeProgress(output, 5, 1);
    writeProgress(output, 0, 48077);
    monitor.beginSolve();
    writeProgress(output, 2, 1);
    output << "\n";
    monitor.finish();
    ASSERT_EQ(monitor.getSolves().size(), 2U);
    EXPECT_EQ(monitor.getSolves()[0].iterations, 48077U);
    EXPECT_EQ(monitor.getSolves()[0].residual, 0.0);
    EXPECT_EQ(monitor.getSolves()[1].iterations, 1U);
    EXPECT_EQ(monitor.getSolves()[1].residual, 2.0);
}

TEST(SolverMonitor, hearsTheNoticeOfAFailedSolveAndANormThatIsNoNumber) {
    SolverMonitor monitor({});
    std::ostream output(&monitor);
    monitor.beginSolve();
    writeProgress(output, -std::nan(""), 7);
    output << "\nLinear system solve failure - carrying on...";
    monitor.finish();
    EXPECT_TRUE(monitor.getHasFailureNotice());
    EXPECT_EQ(monitor.getSolves()[0].iterations, 7U);
    EXPECT_TRUE(std::isnan(monitor.getSolves()[0].residual));
}

TEST(SolverMonitor, aSolveWithoutIterationsHasNoResidual) {
    SolverMonitor monitor({});
    std::ostream output(&monitor);
    monitor.beginSolve();
    output << "\n";
    monitor.finish();
    ASSERT_EQ(monitor.getSolves().size(), 1U);
    EXPECT_EQ(monitor.getSolves()[0].iterations, 0U);
    EXPECT_TRUE(std::isnan(monitor.getSolves()[0].residual));
}

TEST(SolverMonitor, tellsItsObserverOfEachIteration) {
    std::vector<unsigned long> seen;
    SolverMonitor monitor([&seen](SolveRecord const& solve) { seen.push_back(solve.iterations); });
    std::ostream output(&monitor);
    monitor.beginSolve();
    for (int i = 1; i <= 4; ++i) {
        writeProgress(output, 1.0 / i, i);
    }
    monitor.finish();
    EXPECT_EQ(seen, (std::vector<unsigned long>{1, 2, 3, 4}));
}

TEST(StreamRedirection, givesTheStreamItsBufferBack) {
    std::ostringstream stream;
    std::ostringstream target;
    {
        StreamRedirection const redirection(stream, *target.rdbuf());
        stream << "inside";
    }
    stream << "outside";
    EXPECT_EQ(target.str(), "inside");
    EXPECT_EQ(stream.str(), "outside");
}

} // namespace
} // namespace QELT::Inspection
