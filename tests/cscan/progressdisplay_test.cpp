#include "apps/cscan/progress/progressdisplay.h"

#include <gtest/gtest.h>

#include <chrono>
#include <sstream>
#include <string>
#include <thread>

namespace cscan {
namespace {

TEST(ProgressDisplay, writesTheMessagesAsLinesWhereThereIsNoTerminal) {
    std::ostringstream output;
    {
        ProgressDisplay display(output, false);
        display.setMessage("Reading...");
        display.setPercentage(40);
        display.setDetail("iteration 3", 50);
        display.setMessage("Writing...");
    }
    EXPECT_EQ(output.str(), "Reading...\nWriting...\n");
}

TEST(ProgressDisplay, redrawsOneLineOnATerminalAndTakesItAwayAtTheEnd) {
    std::ostringstream output;
    {
        ProgressDisplay display(output, true);
        display.setMessage("Reading...");
        display.setPercentage(50);
        EXPECT_TRUE(output.str().ends_with("\r\x1b[K[############............]  50 % Reading..."));
    }
    EXPECT_TRUE(output.str().ends_with("\r\x1b[K"));
    EXPECT_EQ(output.str().find('\n'), std::string::npos);
}

TEST(ProgressDisplay, holdsPercentagesPastAHundredAndLongTextsToTheLine) {
    std::ostringstream output;
    ProgressDisplay display(output, true);
    display.setMessage(std::string(200, 'x').c_str());
    output.str("");
    display.setPercentage(140);
    EXPECT_EQ(output.str().size(), 79U + std::string("\r\x1b[K").size());
    EXPECT_NE(output.str().find("100 %"), std::string::npos);
}

TEST(ProgressDisplay, showsASolveBetweenItsFirstResidualAndTheTolerance) {
    std::ostringstream output;
    ProgressDisplay display(output, true);
    display.setMessage("Solving...");
    // Nothing is shown before the eye can have seen what stands there.
    auto const wait = [] { std::this_thread::sleep_for(std::chrono::milliseconds(120)); };
    wait();
    display.setSolveProgress({1, 1.0, false});
    EXPECT_TRUE(output.str().ends_with("]   0 % Solving... iteration 1, residual 1")) << output.str();
    display.setSolveProgress({2, 1e-10, false});
    wait();
    display.setSolveProgress({3, 2e-10, false});
    EXPECT_TRUE(output.str().ends_with("]  50 % Solving... iteration 3, residual 2e-10")) << output.str();
}

} // namespace
} // namespace cscan
