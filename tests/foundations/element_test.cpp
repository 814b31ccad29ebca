#include "Geometry/foundations/element.h"

#include <cmath>
#include <limits>
#include <type_traits>

#include <gtest/gtest.h>

namespace QELT {
namespace {

constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t highest = std::numeric_limits<std::int32_t>::max();
constexpr std::uint32_t highestUnsigned = std::numeric_limits<std::uint32_t>::max();

static_assert(std::is_same_v<ElementType<int>, int> && sizeof(ElementType<int>) == 4);
static_assert(std::is_same_v<ElementType<unsigned long>, std::uint32_t>);
static_assert(std::is_same_v<ElementType<double>, double>);

TEST(Element, UnsignedLongIsCutToItsLow32Bits) {
    EXPECT_EQ(toUInt32(0UL), 0U);
    EXPECT_EQ(toUInt32(0xFFFFFFFFUL), highestUnsigned);
    EXPECT_EQ(toUInt32(static_cast<unsigned long>(0x1'0000'0007ULL)), 7U);
}

TEST(Element, SignedSumDifferenceAndProductWrapAround) {
    EXPECT_EQ(wrappedSum(highest, 1), lowest);
    EXPECT_EQ(wrappedDifference(lowest, 1), highest);
    EXPECT_EQ(wrappedProduct(65536, 65536), 0);
    EXPECT_EQ(wrappedProduct(highest, 2), -2);
    EXPECT_EQ(wrappedNegative(lowest), lowest);
    EXPECT_EQ(wrappedNegative(5), -5);
}

TEST(Element, UnsignedSumDifferenceAndProductWrapAround) {
    EXPECT_EQ(wrappedSum(highestUnsigned, 2U), 1U);
    EXPECT_EQ(wrappedDifference(1U, 2U), highestUnsigned);
    EXPECT_EQ(wrappedProduct(0x80000000U, 2U), 0U);
    EXPECT_EQ(wrappedNegative(1U), highestUnsigned);
    EXPECT_EQ(wrappedNegative(0U), 0U);
}

TEST(Element, DoublesAreComputedAsUsual) {
    EXPECT_EQ(wrappedSum(0.5, 0.25), 0.75);
    EXPECT_EQ(wrappedDifference(0.5, 0.25), 0.25);
    EXPECT_EQ(wrappedProduct(0.5, 0.25), 0.125);
    EXPECT_EQ(wrappedQuotient(1.0, 4.0), 0.25);
    EXPECT_EQ(wrappedQuotient(1.0, 0.0), std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::signbit(wrappedNegative(0.0)));
}

TEST(Element, SignedQuotientIsTruncatedTowardsZero) {
    EXPECT_EQ(wrappedQuotient(7, 2), 3);
    EXPECT_EQ(wrappedQuotient(-7, 2), -3);
    EXPECT_EQ(wrappedQuotient(7, -2), -3);
    EXPECT_EQ(wrappedQuotient(-7, -1), 7);
}

TEST(Element, TheOneSignedQuotientOutOfRangeWraps) {
    EXPECT_EQ(wrappedQuotient(lowest, -1), lowest);
}

TEST(Element, UnsignedQuotientIsUnsigned) {
    EXPECT_EQ(wrappedQuotient(highestUnsigned, 2U), 0x7FFFFFFFU);
    EXPECT_EQ(wrappedQuotient(7U, highestUnsigned), 0U);
}

} // namespace
} // namespace QELT
