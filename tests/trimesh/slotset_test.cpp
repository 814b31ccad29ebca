#include "Geometry/trimesh/internal/slotset.h"
#include "tests/support/randomindex.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <random>
#include <set>

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::TriMesh::SlotSet;

std::optional<std::uint32_t> plainFrom(std::set<std::uint32_t> const& slots, std::uint32_t from) {
    auto const found = slots.lower_bound(from);
    return found == slots.end() ? std::nullopt : std::optional(*found);
}

} // namespace

TEST(SlotSet, IsEmptyAtFirst) {
    for (std::size_t const bound : {1U, 63U, 64U, 65U, 4096U, 4097U, 300000U}) {
        SlotSet const slots(bound);
        EXPECT_FALSE(slots.findFrom(0));
        EXPECT_FALSE(slots.findFrom(bound - 1));
    }
}

TEST(SlotSet, FindsTheFirstAndTheLastPossibleNumber) {
    for (std::uint32_t const bound : {1U, 63U, 64U, 65U, 4096U, 4097U, 300000U}) {
        SlotSet slots(bound);
        slots.insert(bound - 1);
        EXPECT_EQ(slots.findFrom(0), bound - 1);
        EXPECT_EQ(slots.findFrom(bound - 1), bound - 1);
        slots.insert(0);
        EXPECT_EQ(slots.findFrom(0), 0U);
        EXPECT_TRUE(slots.erase(0));
        EXPECT_FALSE(slots.erase(0));
        EXPECT_EQ(slots.findFrom(0), bound == 1 ? std::nullopt : std::optional(bound - 1));
    }
}

TEST(SlotSet, AgreesWithAnOrderedSet) {
    std::mt19937 generator(4);
    for (std::uint32_t const bound : {1U, 2U, 64U, 65U, 200U, 5000U, 70000U}) {
        SlotSet slots(bound);
        std::set<std::uint32_t> plain;
        for (int step = 0; step < 6000; ++step) {
            std::uint32_t const slot = randomBelow(generator, bound);
            std::uint32_t const action = randomBelow(generator, 5);
            bool const doGrow = step / 1000 % 2 == 0;
            if (action < (doGrow ? 3U : 1U)) {
                slots.insert(slot);
                plain.insert(slot);
            } else {
                std::uint32_t const gone = plainFrom(plain, slot).value_or(slot);
                ASSERT_EQ(slots.erase(gone), plain.erase(gone) != 0);
            }
            std::uint32_t const from = randomBelow(generator, bound);
            ASSERT_EQ(slots.findFrom(from), plainFrom(plain, from)) << bound << ", step " << step;
            ASSERT_EQ(slots.findFrom(from + std::size_t{bound}), std::nullopt);
        }
    }
}

} // namespace QELT::Testing
