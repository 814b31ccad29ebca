#include "apps/cscan/progress/progressdisplay.h"

#include "Inspection/records/failure.h"
#include "apps/cscan/progress/interruption.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
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

TEST(ProgressDisplay, tellsOfLongStagesEveryTenSecondsWhereThereIsNoTerminal) {
    std::ostringstream output;
    double time = 100.0;
    ProgressDisplay display(output, false, [&] { return time; });
    display.setMessage("Solving...");
    for (unsigned long percent = 1; percent <= 100; ++percent) {
        display.setPercentage(percent);
        time += 0.25;
    }
    // After 10 seconds 40 of 100 hundredths are done, after 20 seconds 80.
    EXPECT_EQ(output.str(), "Solving...\n"
                            "Solving... 41 %, about 15 s left\n"
                            "Solving... 81 %, about 5 s left\n");
}

TEST(ProgressDisplay, saysNothingOfShortStagesAndNoTimeWhereNothingIsDone) {
    std::ostringstream output;
    double time = 0.0;
    ProgressDisplay display(output, false, [&] { return time; });
    display.setMessage("Reading...");
    time = 9.9;
    display.setPercentage(50);
    display.setMessage("Searching...");
    time = 20.0;
    display.setPercentage(1);
    EXPECT_EQ(output.str(), "Reading...\nSearching...\nSearching... 1 %\n");
}

TEST(ProgressDisplay, beginsToCountAnewWhereThePercentageFalls) {
    std::ostringstream output;
    double time = 0.0;
    ProgressDisplay display(output, false, [&] { return time; });
    display.setMessage("Reading...");
    time = 5.0;
    display.setPercentage(99);
    display.setPercentage(1);
    time = 15.0;
    display.setPercentage(11);
    EXPECT_EQ(output.str(), "Reading...\nReading... 11 %, about 90 s left\n");
}

TEST(ProgressDisplay, tellsLongTimesRoughly) {
    auto const leftAfter = [](double seconds) {
        std::ostringstream output;
        double time = 0.0;
        ProgressDisplay display(output, true, [&] { return time; });
        display.setMessage("X");
        time = seconds;
        display.setPercentage(2);
        return output.str().substr(output.str().rfind("X"));
    };
    EXPECT_EQ(leftAfter(4.0), "X");
    EXPECT_EQ(leftAfter(6.0), "X, about 10 min left");
    EXPECT_EQ(leftAfter(100.0), "X, about 2.8 h left");
}

TEST(ProgressDisplay, stopsTheWorkAfterASignal) {
    std::ostringstream output;
    ProgressDisplay display(output, false);
    display.setMessage("Before");
    {
        SignalWatch const watch;
        display.setPercentage(10);
        std::raise(SIGINT);
        EXPECT_THROW(display.setMessage("After"), Interrupted);
        EXPECT_THROW(display.setPercentage(20), Interrupted);
        EXPECT_THROW(display.setSolveProgress({1, 1.0, false}), Interrupted);
    }
    display.setMessage("Later");
    EXPECT_EQ(output.str(), "Before\nLater\n");
}

} // namespace
} // namespace cscan
