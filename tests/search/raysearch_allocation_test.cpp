#include "tests/search/searchtwin.h"
#include "tests/support/gridfamilies.h"
#include "tests/support/watchedheap.h"

namespace QELT::Testing {

namespace {

class RaySearchAllocation : public SearchTest {};

} // namespace

TEST_F(RaySearchAllocation, CountsWhatIsAllocated) {
    std::size_t const before = allocations;
    ::operator delete(::operator new(64));
    std::size_t const taken = allocations - before;
    EXPECT_EQ(taken, 1U);
}

TEST_F(RaySearchAllocation, QuadTestTakesNothingFromTheHeap) {
    RectMesh const grid = wavyGrid(10, 10, 1.0);
    SpacePoint const origin(3.3, 4.6, 9.0);
    SpaceVector const direction(0.0, 0.0, -1.0);
    SpacePoint hitPoint;
    QuadIntersectionData data;
    std::size_t const before = allocations;
    bool const isHit = grid.getDoesIntersectQuad({3, 4}, origin, direction, hitPoint, &data);
    bool const isOtherHit = grid.getDoesIntersectQuad({7, 7}, origin, direction, hitPoint, nullptr);
    std::size_t const taken = allocations - before;
    EXPECT_EQ(taken, 0U);
    EXPECT_TRUE(isHit);
    EXPECT_FALSE(isOtherHit);
}

TEST_F(RaySearchAllocation, WarmQueryOfAGridWithAShortFileNameTakesNothingFromTheHeap) {
    RectMesh grid = wavyGrid(40, 40, 2.0);
    punchMany(grid);
    grid.setFileName("a.quads");
    SpaceVector const direction(0.1, -0.05, -1.0);
    int warmHits = 0;
    int warmMisses = 0;
    for (int i = 0; i < 200; ++i) {
        SpacePoint const origin(3.0 + 0.17 * i, 36.0 - 0.151 * i, 9.0);
        grid.doResetSearch = false;
        grid.lastQuadIndices = {5 + i % 30, 5};
        std::size_t const before = allocations;
        QuadIndicesIntersectionStatus const status = grid.getIntersectionStatus(origin, direction, false);
        std::size_t const taken = allocations - before;
        ASSERT_EQ(taken, 0U) << "beam " << i;
        ++(status.getIsValid() ? warmHits : warmMisses);
    }
    EXPECT_GT(warmHits, 20);
    EXPECT_GT(warmMisses, 20);
}

} // namespace QELT::Testing
