#include "Geometry/foundations/internal/percentage.h"
#include "tests/support/recordinglistener.h"

#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

namespace QELT {
namespace {

using Percentages = std::vector<unsigned long>;

TEST(Percentage, OnlyChangesAreSent) {
    Testing::RecordingListener recorder;
    ProgressListener* const listener = &recorder;
    PercentageReporter reporter(listener);
    for (std::uint64_t percentage : {1U, 1U, 2U, 2U, 1U, 1U, 100U}) {
        reporter.report(percentage);
    }
    EXPECT_EQ(recorder.percentages, (Percentages{1, 2, 1, 100}));
}

TEST(Percentage, ZeroAtTheStartIsNoChange) {
    Testing::RecordingListener recorder;
    ProgressListener* const listener = &recorder;
    PercentageReporter reporter(listener);
    reporter.report(0);
    EXPECT_TRUE(recorder.percentages.empty());
    reporter.report(3);
    reporter.report(0);
    EXPECT_EQ(recorder.percentages, (Percentages{3, 0}));
}

TEST(Percentage, AShareIsTheWholePercentagePlusOne) {
    Testing::RecordingListener recorder;
    ProgressListener* const listener = &recorder;
    PercentageReporter reporter(listener);
    for (std::uint64_t done = 0; done < 3; ++done) {
        reporter.reportShare(done, 3);
    }
    EXPECT_EQ(recorder.percentages, (Percentages{1, 34, 67}));
}

TEST(Percentage, ALongLoopSendsEachNumberFromOneToAHundredOnce) {
    Testing::RecordingListener recorder;
    ProgressListener* const listener = &recorder;
    PercentageReporter reporter(listener);
    for (std::uint64_t done = 0; done < 12345; ++done) {
        reporter.reportShare(done, 12345);
    }
    ASSERT_EQ(recorder.percentages.size(), 100U);
    for (unsigned long i = 0; i < 100; ++i) {
        EXPECT_EQ(recorder.percentages[i], i + 1);
    }
}

TEST(Percentage, TheShareOfThe32BitRangeDoesNotOverflow) {
    Testing::RecordingListener recorder;
    ProgressListener* const listener = &recorder;
    PercentageReporter reporter(listener);
    reporter.reportShare(0xFFFFFFFEU, 0xFFFFFFFFU);
    reporter.reportShare(0xFFFFFFFFU, 0xFFFFFFFFU);
    EXPECT_EQ(recorder.percentages, (Percentages{100, 101}));
}

TEST(Percentage, AfterARestartTheSameNumberIsSentAgain) {
    Testing::RecordingListener recorder;
    ProgressListener* const listener = &recorder;
    PercentageReporter reporter(listener);
    reporter.report(1);
    reporter.restart();
    reporter.report(1);
    EXPECT_EQ(recorder.percentages, (Percentages{1, 1}));
}

TEST(Percentage, TheOwnersPointerIsLookedAtBeforeEveryCall) {
    Testing::RecordingListener first;
    Testing::RecordingListener second;
    ProgressListener* listener = &first;
    PercentageReporter reporter(listener);
    reporter.report(1);
    listener = nullptr;
    reporter.report(2);
    reporter.reportShare(1, 0);
    listener = &second;
    reporter.report(3);
    EXPECT_EQ(first.percentages, Percentages{1});
    EXPECT_EQ(second.percentages, Percentages{3});
}

TEST(Percentage, AReporterTakesNoPointerThatIsGoneAtOnce) {
    EXPECT_FALSE((std::is_constructible_v<PercentageReporter, ProgressListener*>));
    EXPECT_TRUE((std::is_constructible_v<PercentageReporter, ProgressListener*&>));
}

TEST(Percentage, ANullListenerMeansSilence) {
    ProgressListener* const nobody = nullptr;
    PercentageReporter reporter(nobody);
    reporter.report(5);
    reporter.reportShare(1, 0);
    reportMessage(nullptr, "nobody hears this");
    Testing::RecordingListener recorder;
    reportMessage(&recorder, "heard");
    EXPECT_EQ(recorder.messages, std::vector<std::string>{"heard"});
}

} // namespace
} // namespace QELT
