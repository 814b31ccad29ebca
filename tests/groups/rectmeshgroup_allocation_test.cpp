#include "tests/groups/grouptwins.h"
#include "tests/support/watchedheap.h"

#include <algorithm>

namespace QELT::Testing {
namespace {

class GroupAllocation : public GroupTest {};

/// Whether each listed grid is among those that the group will destroy.
bool isAllOwned(RectMeshGroup const& group) {
    std::vector<RectMesh*> const listed = meshesOf(group);
    return std::all_of(listed.begin(), listed.end(), [&](RectMesh const* mesh) {
        return std::any_of(group.ownedMeshes.begin(), group.ownedMeshes.end(),
                           [&](auto const& owned) { return owned->get() == mesh; });
    });
}

TEST_F(GroupAllocation, ListsNoMeshThatItCouldNotOwn) {
    int failures = 0;
    bool isDone = false;
    while (!isDone) {
        RectMeshGroup group;
        auto mesh = std::make_unique<RectMesh>();
        isDone = isDoneWith(failures, [&] { group.addOwnedMesh(std::move(mesh)); });
        failures += isDone ? 0 : 1;
        EXPECT_EQ(group.quadMeshes.size(), isDone ? 1U : 0U);
        EXPECT_TRUE(isAllOwned(group)) << failures;
    }
    EXPECT_GE(failures, 3) << "the owner, the list of owners and the list each take memory";
}

TEST_F(GroupAllocation, ListsNoGroupThatItCouldNotOwn) {
    int failures = 0;
    bool isDone = false;
    while (!isDone) {
        RectMeshGroups groups;
        isDone = isDoneWith(failures, [&] { groups.load({{}}, {{}}); });
        failures += isDone ? 0 : 1;
        EXPECT_EQ(groups.groups.size(), isDone ? 1U : 0U);
        EXPECT_LE(groups.groups.size(), groups.ownedGroups.size());
    }
    EXPECT_GE(failures, 3);
}

TEST_F(GroupAllocation, NoQueryTakesAnythingFromTheHeapWhateverTheNamesOfTheGrids) {
    std::mt19937 generator(7);
    RectMeshGroups groups;
    std::vector<std::vector<std::unique_ptr<RectMesh>>> grids;
    for (int i = 0; i < 3; ++i) {
        grids.push_back(randomGrids(generator, 3));
        groups.addGroup();
        for (auto const& grid : grids.back()) {
            grid->setFileName(std::string(generator() % 2 == 0 ? 100 : 3, 'n'));
            grid->setActivePositionFlags(0xFFFFFFFFUL);
            groups.groups.back()->addQuadMesh(grid.get());
        }
    }
    Beam beam = downAt(3.2, 4.3);
    int hits = 0;
    int changes = 0;
    RectMesh const* last = nullptr;
    for (int i = 0; i < 1500; ++i) {
        setQualityMode(i % 500 == 499 ? 1 : 0);
        beam = nextBeam(generator, beam);
        std::size_t const before = allocations;
        bool const isHit =
            groups.getIntersectionStatus(beam.origin, beam.direction, i % 50 == 0).getIsValid();
        std::size_t const taken = allocations - before;
        ASSERT_EQ(taken, 0U) << "beam " << i;
        hits += isHit ? 1 : 0;
        changes += groups.getLastIntersectedRectMesh() != last ? 1 : 0;
        last = groups.getLastIntersectedRectMesh();
    }
    EXPECT_GT(hits, 300);
    EXPECT_GT(changes, 50) << "members that come to the front";
}

} // namespace
} // namespace QELT::Testing
