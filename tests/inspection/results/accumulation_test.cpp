#include "Inspection/results/internal/accumulation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>

using namespace QELT::Inspection;

namespace {

constexpr double none = std::numeric_limits<double>::quiet_NaN();

ShotQuantities::Value valueOf(Statistic statistic) {
    return {{"a", statistic}, "", {}, {}, false, true};
}

std::vector<double> ofNumbers(ShotQuantities::Value const& value, std::vector<double> const& numbers) {
    ValueAccumulator accumulator(value, 2);
    std::uint64_t shot = 0;
    for (double const number : numbers) {
        accumulator.add(1, number, shot++);
    }
    return accumulator.finish().values;
}

} // namespace

TEST(Accumulation, eachStatisticIsWhatItsNameSays) {
    std::vector<double> const numbers{3.0, none, -1.0, 7.0, 2.0};

    EXPECT_EQ(-1.0, ofNumbers(valueOf(Statistic::Min), numbers)[1]);
    EXPECT_EQ(7.0, ofNumbers(valueOf(Statistic::Max), numbers)[1]);
    EXPECT_EQ(2.75, ofNumbers(valueOf(Statistic::Mean), numbers)[1]);
    EXPECT_EQ(2.5, ofNumbers(valueOf(Statistic::Median), numbers)[1]);
    EXPECT_EQ(2.0, ofNumbers(valueOf(Statistic::Last), numbers)[1]);
    EXPECT_EQ(4.0, ofNumbers(valueOf(Statistic::Count), numbers)[1]);
    EXPECT_EQ(3.0, ofNumbers(valueOf(Statistic::Median), {9.0, 3.0, 1.0})[1]);
}

TEST(Accumulation, aPixelWithoutNumbersHasNoValue) {
    for (Statistic const statistic :
         {Statistic::Min, Statistic::Max, Statistic::Mean, Statistic::Median, Statistic::Last}) {
        EXPECT_TRUE(std::isnan(ofNumbers(valueOf(statistic), {1.0})[0])) << nameOf(statistic);
    }
    EXPECT_EQ(0.0, ofNumbers(valueOf(Statistic::Count), {1.0})[0]);
}

TEST(Accumulation, theMeanOfDecibelsIsThatOfAmplitudes) {
    ShotQuantities::Value value = valueOf(Statistic::Mean);
    value.isDecibel = true;

    // 1 and 3 on average 2.
    EXPECT_NEAR(20.0 * std::log10(2.0), ofNumbers(value, {0.0, 20.0 * std::log10(3.0)})[1], 1e-12);
}

TEST(Accumulation, amplitudesWithAReferenceEndAsDecibels) {
    ShotQuantities::Value value = valueOf(Statistic::Mean);
    value.reference = 80.0;

    EXPECT_NEAR(-6.0206, ofNumbers(value, {30.0, 50.0})[1], 1e-4);
    value.request.statistic = Statistic::Max;
    EXPECT_NEAR(-6.0206, ofNumbers(value, {30.0, 40.0})[1], 1e-4);
    EXPECT_TRUE(std::isnan(ofNumbers(value, {0.0})[1])) << "nothing is no amplitude";
}

TEST(Accumulation, sumsAreThoseOfBlocksInTheirOrder) {
    std::mt19937_64 random(5);
    std::uniform_real_distribution<double> number(-1.0, 1.0);
    ValueAccumulator accumulator(valueOf(Statistic::Mean), 1);
    double sum = 0.0;
    std::uint64_t count = 0;
    for (std::uint64_t block = 0; block < 3; ++block) {
        double part = 0.0;
        for (std::uint64_t i = 0; i < shotsPerBlock; i += 17) {
            double const next = number(random);
            part += next;
            accumulator.add(0, next, block * shotsPerBlock + i);
            ++count;
        }
        sum += part;
    }

    EXPECT_EQ(sum / static_cast<double>(count), accumulator.finish().values[0]);
}

TEST(Accumulation, mediansThatWaitOnDiskAreThoseOfMemory) {
    constexpr std::size_t pixelCount = 1000;
    std::mt19937_64 random(6);
    std::uniform_int_distribution<std::uint32_t> pixel(0, pixelCount - 2);
    std::normal_distribution<double> number(0.0, 10.0);
    MedianSpill spill(pixelCount);
    std::map<std::uint32_t, std::vector<double>> plain;
    for (int i = 0; i < 400000; ++i) { // 6,250 for each file, more than waits in memory
        std::uint32_t const where = pixel(random);
        double const next = std::round(number(random));
        spill.add(where, next);
        plain[where].push_back(next);
    }
    auto const medians = spill.medians();

    for (auto& [where, numbers] : plain) {
        std::sort(numbers.begin(), numbers.end());
        std::size_t const middle = numbers.size() / 2;
        double const expected =
            numbers.size() % 2 != 0 ? numbers[middle] : 0.5 * (numbers[middle - 1] + numbers[middle]);
        EXPECT_EQ(expected, medians[where]) << where;
    }
    EXPECT_TRUE(std::isnan(medians[pixelCount - 1]));
}
