#include "Geometry/foundations/map.h"
#include "Geometry/trimesh/reconstruction/internal/minheap.h"
#include "tests/support/plain_reconstruction.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <random>
#include <vector>

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::TriMesh::Map;
using Geometry::ThreeDimensional::TriMesh::MinHeap;
using Entry = Map<unsigned long, double>;

struct PlainEntry {
    std::uint32_t s;
    double t;
};

/// The keys in the order in which they are popped.
std::vector<std::uint32_t> popAll(MinHeap<Entry>& heap) {
    std::vector<std::uint32_t> order;
    while (!heap.getIsEmpty()) {
        order.push_back(heap.pop().gets());
    }
    return order;
}

std::vector<std::uint32_t> popOrder(std::vector<double> const& ranks) {
    MinHeap<Entry> heap;
    for (std::uint32_t i = 0; i < ranks.size(); ++i) {
        heap.push({i, ranks[i]});
    }
    return popAll(heap);
}

using Order = std::vector<std::uint32_t>;

} // namespace

TEST(MinHeap, IsEmptyAtFirstAndAfterClear) {
    MinHeap<Entry> heap;
    EXPECT_TRUE(heap.getIsEmpty());
    heap.push({1, 2.0});
    heap.push({2, 1.0});
    EXPECT_EQ(heap.getSize(), 2U);
    heap.clear();
    EXPECT_TRUE(heap.getIsEmpty());
    EXPECT_EQ(heap.getSize(), 0U);
}

TEST(MinHeap, GivesTheLeastFirst) {
    EXPECT_EQ(popOrder({3.0, 1.0, 2.0, -4.0, 0.5}), (Order{3, 4, 1, 2, 0}));
}

TEST(MinHeap, AnEntryPushedDoesNotPassAnEqualParent) {
    EXPECT_EQ(popOrder({1.0, 1.0}), (Order{0, 1}));
}

TEST(MinHeap, OfEqualChildrenTheRightOneRises) {
    EXPECT_EQ(popOrder({0.0, 1.0, 1.0, 2.0}), (Order{0, 2, 1, 3}));
}

TEST(MinHeap, TheHoleSinksToTheBottomBeforeTheLastEntryFillsIt) {
    // Seven equal ones: at the first pop the hole goes by way of 2 to 5, where 6 stays, and so on. Had the
    // last entry stopped at the top, where it is not greater than its children, 6 would come second.
    EXPECT_EQ(popOrder({1, 1, 1, 1, 1, 1, 1}), (Order{0, 2, 5, 6, 4, 1, 3}));
}

TEST(MinHeap, ALastEntryThatIsLessThanThoseOnTheWayOfTheHoleRisesAgain) {
    // The hole sinks along 2, 5 and leaves the last entry, of rank 3, below the 5: it has to pass it.
    EXPECT_EQ(popOrder({0, 4, 1, 6, 7, 5, 8, 9, 10, 4.5}), (Order{0, 2, 1, 9, 5, 3, 4, 6, 7, 8}));
}

TEST(MinHeap, AgreesWithThePlainHeapOnRandomPushesAndPops) {
    for (std::uint32_t seed = 1; seed <= 60; ++seed) {
        std::mt19937 generator(seed);
        MinHeap<Entry> heap;
        PlainHeap<PlainEntry> plain;
        std::uint32_t const numberOfRanks = 1 + seed % 9 * (seed % 9) * 20;
        for (std::uint32_t i = 0; i < 600; ++i) {
            bool const doPush = plain.size() == 0 || generator() % 5 < (i < 300 ? 4 : 1);
            if (doPush) {
                double rank = static_cast<double>(generator() % numberOfRanks) - 5.0;
                rank = seed % 7 == 0 && i % 11 == 0 ? std::numeric_limits<double>::quiet_NaN() : rank;
                rank = i % 37 == 0 ? -0.0 : rank;
                heap.push({i, rank});
                plain.push({i, rank});
            } else {
                ASSERT_EQ(heap.pop().gets(), plain.pop().s) << "seed " << seed << " step " << i;
            }
            ASSERT_EQ(heap.getSize(), plain.size());
        }
    }
}

} // namespace QELT::Testing
