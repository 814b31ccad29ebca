#include "tests/search/searchtwin.h"
#include "tests/support/gridfamilies.h"
#include "tests/support/watchedheap.h"

#include <string>

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

TEST_F(RaySearchAllocation, NoQueryTakesAnythingFromTheHeapWhateverTheNameOfTheGrid) {
    RectMesh grid = wavyGrid(40, 40, 2.0);
    punchMany(grid);
    ShearedGrid derived;
    static_cast<RectMesh&>(derived) = grid;
    for (std::size_t const nameLength : {0U, 15U, 16U, 200U, 5000U}) {
        std::string const name(nameLength, 'n');
        for (RectMesh* const asked : {&grid, static_cast<RectMesh*>(&derived)}) {
            asked->setFileName(name);
            int hits = 0;
            for (int i = 0; i < 200; ++i) {
                SpacePoint const foot = asked->getPoint({i % 40, 39 - (i * 7) % 40});
                SpacePoint const origin = foot + SpaceVector(0.3, 0.2, 9.0);
                SpaceVector const direction(0.1, -0.05, -1.0);
                std::size_t const before = allocations;
                bool const isWarmHit = asked->getIntersectionStatus(origin, direction, false).getIsValid();
                bool const isColdHit = asked->getIntersectionStatus(origin, direction, true).getIsValid();
                bool const isHit = asked->getIntersection(origin, direction).getIsValid();
                std::size_t const taken = allocations - before;
                ASSERT_EQ(taken, 0U) << "beam " << i << ", name of " << nameLength;
                hits += isWarmHit || isColdHit || isHit ? 1 : 0;
            }
            EXPECT_GT(hits, 20);
            asked->setPosition(3);
            asked->setActivePositionFlags(0);
            std::size_t const before = allocations;
            bool const isInactiveHit =
                asked->getIntersectionStatus(SpacePoint(), SpaceVector(), false).getIsValid();
            std::size_t const taken = allocations - before;
            EXPECT_EQ(taken, 0U);
            EXPECT_FALSE(isInactiveHit);
            asked->setActivePositionFlags(0xFFFFFFFFUL);
        }
    }
}

TEST_F(RaySearchAllocation, StatusKeepsItsNameWhenTheGridIsRenamedOrGone) {
    std::string const name(100, 'a');
    QuadIndicesIntersectionStatus status;
    {
        RectMesh grid = wavyGrid(10, 10, 1.0);
        grid.setFileName(name);
        status = grid.getIntersectionStatus({3.3, 4.6, 9.0}, {0.0, 0.0, -1.0}, false);
        grid.setFileName("another");
        EXPECT_EQ(status.getFileName(), name);
    }
    QuadIndicesIntersectionStatus const copy = status;
    status = QuadIndicesIntersectionStatus();
    EXPECT_EQ(status.getFileName(), "");
    EXPECT_EQ(copy.getFileName(), name);
    EXPECT_TRUE(copy.getIsValid());
}

} // namespace QELT::Testing
