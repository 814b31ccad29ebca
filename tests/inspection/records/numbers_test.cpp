#include "Inspection/records/numbers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace QELT::Inspection {
namespace {

TEST(SplitAtCommas, givesOneFieldMoreThanThereAreCommas) {
    using Fields = std::vector<std::string_view>;
    EXPECT_EQ(splitAtCommas(""), Fields{""});
    EXPECT_EQ(splitAtCommas("1"), Fields{"1"});
    EXPECT_EQ(splitAtCommas(" 1 ,,2,"), (Fields{" 1 ", "", "2", ""}));
}

TEST(ParseNumber, takesTheUsualForms) {
    EXPECT_EQ(parseNumber("1"), 1.0);
    EXPECT_EQ(parseNumber("-0.5"), -0.5);
    EXPECT_EQ(parseNumber("+2.25e3"), 2250.0);
    EXPECT_EQ(parseNumber(" \t7.\r"), 7.0);
    EXPECT_EQ(parseNumber("-.5"), -0.5);
}

TEST(ParseNumber, refusesWhatIsNotWhollyAFiniteNumber) {
    for (char const* text :
         {"", " ", "+", "-", "+-1", "1,5", "1 2", "1x", "x1", "nan", "inf", "-inf", "1e999", "--1", "++1"}) {
        EXPECT_FALSE(parseNumber(text).has_value()) << "'" << text << "'";
    }
}

TEST(ExactText, readsBackAsTheSameDouble) {
    std::mt19937_64 generator(11);
    for (int i = 0; i < 2000; ++i) {
        std::uint64_t const bits = generator();
        double value = 0.0;
        std::memcpy(&value, &bits, sizeof value);
        if (std::isfinite(value)) {
            EXPECT_EQ(parseNumber(toExactText(value)), value);
        }
    }
}

TEST(ExactText, readsBackAsTheSameFloat) {
    std::mt19937 generator(12);
    for (int i = 0; i < 2000; ++i) {
        auto const bits = static_cast<std::uint32_t>(generator());
        float value = 0.0F;
        std::memcpy(&value, &bits, sizeof value);
        if (std::isfinite(value)) {
            EXPECT_EQ(std::strtof(toExactText(value).c_str(), nullptr), value);
        }
    }
    EXPECT_EQ(toExactText(0.1F), "0.1");
}

TEST(FixedText, hasTheDecimalsAskedForAndNoNegativeZero) {
    EXPECT_EQ(toFixedText(1.25, 1), "1.2");
    EXPECT_EQ(toFixedText(-3.0, 2), "-3.00");
    EXPECT_EQ(toFixedText(-0.0, 1), "0.0");
    EXPECT_EQ(toFixedText(-0.04, 1), "0.0");
    EXPECT_EQ(toFixedText(12.0, 0), "12");
}

TEST(FixedText, holdsTheLargestDouble) {
    EXPECT_EQ(toFixedText(std::numeric_limits<double>::max(), 10).size(), 309U + 1U + 10U);
}

TEST(ShortText, hasAtMostTheDigitsAskedFor) {
    EXPECT_EQ(toShortText(0.15999, 3), "0.16");
    EXPECT_EQ(toShortText(1234567.0, 3), "1.23e+06");
    EXPECT_EQ(toShortText(5.0, 6), "5");
}

} // namespace
} // namespace QELT::Inspection
