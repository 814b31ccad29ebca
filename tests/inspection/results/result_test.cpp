#include "Inspection/results/result.h"

#include "Inspection/records/failure.h"

#include <gtest/gtest.h>

using namespace QELT::Inspection;

namespace {

Result resultOf(std::vector<std::pair<std::string, std::string>> const& names) {
    Result result;
    for (auto const& [name, quantity] : names) {
        ValueMap map;
        map.name = name;
        map.quantity = quantity;
        result.values.push_back(map);
    }
    return result;
}

std::string complaintOf(Result const& result, std::string const& name) {
    try {
        valueMapOf(result, name);
    } catch (Failure const& failure) {
        return failure.what();
    }
    return "";
}

} // namespace

TEST(Result, aValueIsFoundByItsNameOrItsQuantity) {
    Result const result = resultOf({{"tof:min", "tof"}, {"amplitude:max", "amplitude"}});

    EXPECT_EQ(&result.values[0], &valueMapOf(result, "tof:min"));
    EXPECT_EQ(&result.values[1], &valueMapOf(result, "amplitude"));
}

TEST(Result, whatIsNotThereOrNotClearIsRefusedWithTheNames) {
    Result const result = resultOf({{"tof:min", "tof"}, {"tof:mean", "tof"}});

    EXPECT_EQ("there is no value 'depth'; the result has tof:min, tof:mean", complaintOf(result, "depth"));
    EXPECT_EQ("'tof' is several values; the result has tof:min, tof:mean", complaintOf(result, "tof"));
    EXPECT_EQ("there is no value 'tof'; the result holds no values", complaintOf(Result{}, "tof"));
}

TEST(Result, statesAreSpelt) {
    EXPECT_STREQ("no surface", nameOf(PixelState::NoSurface));
    EXPECT_STREQ("refused", nameOf(PixelState::Refused));
    EXPECT_STREQ("min", nameOf(Statistic::Min));
    EXPECT_STREQ("count", nameOf(Statistic::Count));
}

TEST(Result, aPixelIsReachedByAShotThatCounts) {
    Result result;
    result.width = 6;
    result.height = 1;
    result.states = {PixelState::NoSurface, PixelState::NotReached, PixelState::NoEcho,
                     PixelState::Echo,      PixelState::Saturated,  PixelState::Refused};

    EXPECT_FALSE(result.hasSurface(0));
    EXPECT_FALSE(result.isReached(0));
    EXPECT_FALSE(result.isReached(1));
    EXPECT_TRUE(result.isReached(2));
    EXPECT_TRUE(result.isReached(3));
    EXPECT_TRUE(result.isReached(4));
    EXPECT_FALSE(result.isReached(5));
}
