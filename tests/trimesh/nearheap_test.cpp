#include "Geometry/trimesh/reconstruction/internal/nearheap.h"
#include "tests/support/plain_reconstruction.h"
#include "tests/support/randomindex.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::TriMesh::NearHeap;
using Order = std::vector<std::uint32_t>;

struct PlainEntry {
    std::uint32_t s;
    double t;
};

/// The first `count` that a heap over all ranks gives up.
Order plainOrder(std::vector<double> const& ranks, std::size_t count) {
    PlainHeap<PlainEntry> heap;
    for (std::uint32_t i = 0; i < ranks.size(); ++i) {
        heap.push({i, ranks[i]});
    }
    Order order;
    while (order.size() < count && heap.size() > 0) {
        order.push_back(heap.pop().s);
    }
    return order;
}

double rankOfNumber(std::vector<double> ranks, std::size_t count) {
    std::sort(ranks.begin(), ranks.end());
    return ranks[std::min(count, ranks.size()) - 1];
}

Order nearOrder(std::vector<double> const& ranks, std::size_t count) {
    double const limit = rankOfNumber(ranks, count);
    NearHeap heap;
    for (std::uint32_t i = 0; i < ranks.size(); ++i) {
        if (ranks[i] <= limit) {
            heap.push({ranks[i], i}, i);
        }
    }
    heap.setSize(static_cast<std::uint32_t>(ranks.size()));
    Order order;
    while (order.size() < count && !heap.getIsEmpty()) {
        NearHeap::Entry const entry = heap.pop();
        EXPECT_EQ(entry.rank, ranks[entry.index]);
        order.push_back(entry.index);
    }
    return order;
}

} // namespace

TEST(NearHeap, IsEmptyAtFirstAndAfterClear) {
    NearHeap heap;
    EXPECT_TRUE(heap.getIsEmpty());
    heap.push({1.0, 7}, 0);
    EXPECT_FALSE(heap.getIsEmpty());
    heap.clear();
    EXPECT_TRUE(heap.getIsEmpty());
}

TEST(NearHeap, ANearEntryRisesPastFarOnesAndNotPastItsEqual) {
    // Far, near, far, near: the first near one goes to the top, the second stops below it.
    EXPECT_EQ(nearOrder({9.0, 1.0, 8.0, 1.0}, 2), (Order{1, 3}));
    EXPECT_EQ(plainOrder({9.0, 1.0, 8.0, 1.0}, 2), (Order{1, 3}));
}

TEST(NearHeap, EqualOnesComeOutAsOfTheWholeHeap) {
    std::vector<double> const equal(7, 1.0);
    EXPECT_EQ(nearOrder(equal, 7), (Order{0, 2, 5, 6, 4, 1, 3}));
}

TEST(NearHeap, GivesTheFirstOnesOfTheWholeHeapWhateverTheirRanks) {
    std::mt19937 generator(5);
    for (std::uint32_t round = 0; round < 3000; ++round) {
        std::uint32_t const size = 1 + randomBelow(generator, round % 20 == 0 ? 2000 : 150);
        std::uint32_t const numberOfRanks = 1 + randomBelow(generator, round % 3 == 0 ? 4 : 60);
        std::vector<double> ranks;
        for (std::uint32_t i = 0; i < size; ++i) {
            double const rank = randomBelow(generator, numberOfRanks);
            ranks.push_back(randomBelow(generator, 50) == 0 ? std::numeric_limits<double>::infinity() : rank);
        }
        std::size_t const count = 1 + randomBelow(generator, 70);
        ASSERT_EQ(nearOrder(ranks, count), plainOrder(ranks, count)) << "round " << round;
    }
}

TEST(NearHeap, FollowsRanksThatRiseOrFallWithTheirTurn) {
    for (std::uint32_t size = 1; size < 300; size += 7) {
        std::vector<double> rising;
        std::vector<double> falling;
        for (std::uint32_t i = 0; i < size; ++i) {
            rising.push_back(i / 5U);
            falling.push_back((size - i) / 5U);
        }
        for (std::size_t const count : {1U, 10U, 64U}) {
            ASSERT_EQ(nearOrder(rising, count), plainOrder(rising, count)) << size;
            ASSERT_EQ(nearOrder(falling, count), plainOrder(falling, count)) << size;
        }
    }
}

} // namespace QELT::Testing
