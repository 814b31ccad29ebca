#include "apps/cscan/progress/progressdisplay.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

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

TEST(ProgressDisplay, showsHowASolveComesAlong) {
    std::ostringstream output;
    ProgressDisplay display(output, true);
    display.setMessage("Solving...");
    display.setSolve({31, 1.25e-7}, 50);
    EXPECT_TRUE(output.str().ends_with("]  50 % Solving... iteration 31, residual 1.2e-07")) << output.str();
}

} // namespace
} // namespace cscan
