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

} // namespace
} // namespace QELT::Testing
