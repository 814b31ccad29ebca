#include "Geometry/groups/rectmeshgroup.h"

#include "tests/groups/grouptwins.h"
#include "tests/support/gridchecks.h"

#include <functional>
#include <type_traits>

namespace QELT::Testing {
namespace {

using Geometry::ThreeDimensional::AffineMap;
using Geometry::ThreeDimensional::LinearMap;
using Data = RectMeshGroup::RectMeshData;

class MeshGroup : public GroupTest {};

static_assert(std::has_virtual_destructor_v<RectMeshGroup>);

/// Counts the grids that are destroyed.
class MortalGrid : public RectMesh {
public:
    explicit MortalGrid(int& newDeaths) : deaths(newDeaths) {}

    ~MortalGrid() override { ++deaths; }

private:
    int& deaths;
};

QuadIndicesIntersectionStatus ask(RectMeshGroup& group, Beam const& beam, bool doReset = false) {
    return group.getIntersectionStatus(beam.origin, beam.direction, doReset);
}

// Entries

TEST_F(MeshGroup, EntryIsOfNoMeshAndNotOwnedByDefault) {
    Data const entry;
    EXPECT_EQ(entry.quadMesh, nullptr);
    EXPECT_FALSE(entry.doDeleteMesh);
}

TEST_F(MeshGroup, EntriesAreEqualWhenBothFieldsAre) {
    RectMesh a;
    RectMesh b;
    EXPECT_TRUE((Data{&a, true} == Data{&a, true}));
    EXPECT_FALSE((Data{&a, true} == Data{&a, false}));
    EXPECT_FALSE((Data{&a, true} == Data{&b, true}));
}

// Members and ownership

TEST_F(MeshGroup, IsEmptyAndNotGoodAtFirst) {
    RectMeshGroup const group;
    EXPECT_TRUE(group.quadMeshes.empty());
    EXPECT_FALSE(group.isLastIntersectionGood);
    EXPECT_EQ(group.getLastIntersectedRectMesh(), nullptr);
    EXPECT_TRUE(isBox(group.getUVBoundingBox(), 0, 0, 0, 0));
}

TEST_F(MeshGroup, AppendsAddedMeshesWithoutOwningThem) {
    RectMesh a = flatAt(0.0, 0.0);
    RectMesh b = flatAt(10.0, 0.0);
    {
        RectMeshGroup group;
        group.addQuadMesh(&a);
        group.addQuadMesh(&b);
        EXPECT_EQ(meshesOf(group), (std::vector<RectMesh*>{&a, &b}));
        EXPECT_FALSE(group.quadMeshes.front().doDeleteMesh);
        EXPECT_EQ(group.getLastIntersectedRectMesh(), &a) << "before any hit the first added";
    }
    EXPECT_TRUE(a.getIsQuadValid({0, 0}));
}

TEST_F(MeshGroup, DestroysWhatItOwnsThroughTheVirtualDestructor) {
    int deaths = 0;
    {
        RectMeshGroup group;
        group.addOwnedMesh(std::make_unique<MortalGrid>(deaths));
        EXPECT_TRUE(group.quadMeshes.front().doDeleteMesh);
    }
    EXPECT_EQ(deaths, 1);
    RectMeshGroup group;
    group.addOwnedMesh(std::make_unique<MortalGrid>(deaths));
    group.deleteMeshes();
    EXPECT_EQ(deaths, 2);
    EXPECT_TRUE(group.quadMeshes.empty());
}

TEST_F(MeshGroup, AStatusOutlivesItsMeshUnderItsFileName) {
    std::vector<std::function<void(RectMeshGroup&)>> const ends{
        [](RectMeshGroup& group) { group.deleteMeshes(); },
        [](RectMeshGroup& group) { group = RectMeshGroup(); },
        [](RectMeshGroup& group) { group.load({}, {}); },
    };
    for (auto const& end : ends) {
        int deaths = 0;
        RectMeshGroup group;
        auto mesh = std::make_unique<MortalGrid>(deaths);
        static_cast<RectMesh&>(*mesh) = flatGrid(5, 5);
        mesh->setFileName("gone");
        group.addOwnedMesh(std::move(mesh));
        QuadIndicesIntersectionStatus const status = ask(group, downAt(1.3, 2.4));
        ASSERT_TRUE(status.getIsValid());
        end(group);
        EXPECT_EQ(deaths, 1);
        EXPECT_EQ(status.getFileName(), "gone");
        EXPECT_EQ(status.getIndices(), GridIndex(1, 2));
    }
}

TEST_F(MeshGroup, ClearLeavesLoadedMeshesAlive) {
    RectMeshGroup group;
    group.load({writeFlat("a.quads", 5, 5), writeFlat("b.quads", 3, 3)}, {{0, 0}, {10, 0}});
    std::vector<RectMesh*> const meshes = meshesOf(group);
    QuadIndicesIntersectionStatus const status = ask(group, downAt(1.3, 2.4));
    group.clear();
    EXPECT_TRUE(group.quadMeshes.empty());
    EXPECT_EQ(&status.getQuadMesh(), meshes[0]);
    EXPECT_TRUE(meshes[0]->getIsQuadValid({4, 4}));
    EXPECT_EQ(meshes[1]->getExtents().getdU(), 3U);
    for (RectMesh* const mesh : meshes) {
        delete mesh; // now for the caller to do
    }
}

TEST_F(MeshGroup, KeepsItsFlagWhenMeshesComeAndGo) {
    for (bool const isGood : {false, true}) {
        RectMesh added = flatAt(0.0, 0.0);
        RectMeshGroup group;
        group.isLastIntersectionGood = isGood;
        group.addQuadMesh(&added);
        EXPECT_EQ(group.isLastIntersectionGood, isGood);
        group.clear();
        EXPECT_EQ(group.isLastIntersectionGood, isGood);
        group.addOwnedMesh(std::make_unique<RectMesh>());
        group.deleteMeshes();
        EXPECT_EQ(group.isLastIntersectionGood, isGood);
    }
}

TEST_F(MeshGroup, CopySharesMeshesMarksAndFlag) {
    RectMesh added = flatAt(0.0, 0.0);
    RectMeshGroup group;
    group.addOwnedMesh(std::make_unique<RectMesh>(flatAt(10.0, 0.0)));
    group.addQuadMesh(&added);
    group.isLastIntersectionGood = true;
    RectMeshGroup const copy(group);
    EXPECT_EQ(meshesOf(copy), meshesOf(group));
    EXPECT_TRUE(copy.quadMeshes.front().doDeleteMesh);
    EXPECT_FALSE(copy.quadMeshes.back().doDeleteMesh);
    EXPECT_TRUE(copy.isLastIntersectionGood);
}

TEST_F(MeshGroup, CopyAndSourceMayBeDestroyedInAnyOrder) {
    for (bool const isSourceFirst : {false, true}) {
        int deaths = 0;
        auto source = std::make_unique<RectMeshGroup>();
        source->addOwnedMesh(std::make_unique<MortalGrid>(deaths));
        auto copy = std::make_unique<RectMeshGroup>(*source);
        auto third = std::make_unique<RectMeshGroup>(*copy);
        (isSourceFirst ? source : copy).reset();
        EXPECT_EQ(deaths, 0);
        EXPECT_EQ(third->getUVBoundingBox().getd(), GridStep(0, 0));
        (isSourceFirst ? copy : source).reset();
        EXPECT_EQ(deaths, 0);
        third.reset();
        EXPECT_EQ(deaths, 1);
    }
}

TEST_F(MeshGroup, CopyStaysUsableWhateverBecomesOfTheSource) {
    std::string const path = writeFlat("a.quads", 5, 5);
    auto const change = [&](int kind, RectMeshGroup& group) {
        switch (kind) {
        case 0:
            group.deleteMeshes();
            break;
        case 1:
            group.load({path}, {{1, 1}});
            break;
        default:
            group = RectMeshGroup();
            break;
        }
    };
    for (int kind = 0; kind < 3; ++kind) {
        RectMeshGroup source;
        source.load({path}, {{0, 0}});
        RectMeshGroup copy(source);
        change(kind, source);
        EXPECT_TRUE(ask(copy, downAt(1.3, 2.4)).getIsValid()) << kind;
        change(kind, copy);
    }
}

TEST_F(MeshGroup, ClearOfACopyGivesTheMeshesAwayForAll) {
    int deaths = 0;
    auto* const mesh = new MortalGrid(deaths);
    {
        RectMeshGroup source;
        source.addOwnedMesh(std::unique_ptr<RectMesh>(mesh));
        RectMeshGroup copy(source);
        copy.clear();
        EXPECT_EQ(source.getLastIntersectedRectMesh(), mesh);
    }
    EXPECT_EQ(deaths, 0);
    delete mesh;
    EXPECT_EQ(deaths, 1);
}

TEST_F(MeshGroup, AssignmentCopiesDeeplyInOrder) {
    RectMesh a = flatAt(0.0, 1.0);
    RectMesh b = flatAt(10.0, 2.0, 3, 4);
    a.setOffset({7, 8});
    a.setPosition(3);
    a.setActivePositionFlags(5);
    a.setDoFlipNormals(true);
    RectMeshGroup source;
    source.addQuadMesh(&a);
    source.addQuadMesh(&b);
    source.isLastIntersectionGood = true;
    int deaths = 0;
    RectMeshGroup target;
    target.addOwnedMesh(std::make_unique<MortalGrid>(deaths));
    EXPECT_EQ(&(target = source), &target);
    EXPECT_EQ(deaths, 1) << "what the target owned is gone";
    std::vector<RectMesh*> const meshes = meshesOf(target);
    ASSERT_EQ(meshes.size(), 2U);
    EXPECT_NE(meshes[0], &a);
    EXPECT_TRUE(sameNodes(*meshes[0], plainGridOf(a)));
    EXPECT_TRUE(sameNodes(*meshes[1], plainGridOf(b)));
    EXPECT_TRUE(target.quadMeshes.front().doDeleteMesh);
    EXPECT_FALSE(target.isLastIntersectionGood) << "stays as it was";
    EXPECT_EQ(meshes[0]->getOffset(), GridStep(0, 0));
    EXPECT_EQ(meshes[0]->position, 0U);
    EXPECT_EQ(meshes[0]->activePositionFlags, RectMesh().activePositionFlags);
    meshes[0]->setPoint({0, 0}, SpacePoint(9.0, 9.0, 9.0));
    EXPECT_EQ(a.getPoint({0, 0}), SpacePoint(0.0, 0.0, 1.0));
}

TEST_F(MeshGroup, AssignmentKeepsAGoodFlagOfTheTarget) {
    RectMeshGroup target;
    target.isLastIntersectionGood = true;
    target = RectMeshGroup();
    EXPECT_TRUE(target.isLastIntersectionGood);
}

TEST_F(MeshGroup, SetIsAssignment) {
    RectMesh a = flatAt(0.0, 1.0);
    RectMeshGroup source;
    source.addQuadMesh(&a);
    RectMeshGroup target;
    target.set(source);
    ASSERT_EQ(meshesOf(target).size(), 1U);
    EXPECT_NE(meshesOf(target)[0], &a);
}

TEST_F(MeshGroup, AssignedToItselfIsEmpty) {
    int deaths = 0;
    RectMesh added = flatAt(0.0, 0.0);
    RectMeshGroup group;
    group.addQuadMesh(&added);
    group.addOwnedMesh(std::make_unique<MortalGrid>(deaths));
    RectMeshGroup& itself = group;
    group = itself;
    EXPECT_TRUE(group.quadMeshes.empty());
    EXPECT_EQ(deaths, 1);
    EXPECT_TRUE(added.getIsQuadValid({0, 0}));
}

TEST_F(MeshGroup, AssignedFromItsOwnCopyIsADeepOne) {
    RectMeshGroup source;
    source.load({writeFlat("a.quads", 5, 5)}, {{3, 0}});
    RectMeshGroup copy(source);
    copy = source;
    EXPECT_NE(meshesOf(copy)[0], meshesOf(source)[0]);
    EXPECT_TRUE(sameNodes(*meshesOf(copy)[0], plainGridOf(*meshesOf(source)[0])));
}

// Files

TEST_F(MeshGroup, LoadsEachFileAtItsOffsetInPlaceOfItsMeshes) {
    int deaths = 0;
    RectMeshGroup group;
    group.addOwnedMesh(std::make_unique<MortalGrid>(deaths));
    group.isLastIntersectionGood = true;
    group.load({writeFlat("a.quads", 5, 6), writeFlat("b.quads", 3, 4)}, {{10, 20}, {-7, 8}});
    EXPECT_EQ(deaths, 1);
    std::vector<RectMesh*> const meshes = meshesOf(group);
    ASSERT_EQ(meshes.size(), 2U);
    EXPECT_EQ(meshes[0]->getExtents(), GridExtents(5, 6));
    EXPECT_EQ(meshes[0]->getOffset(), GridStep(10, 20));
    EXPECT_EQ(meshes[1]->getExtents(), GridExtents(3, 4));
    EXPECT_EQ(meshes[1]->getOffset(), GridStep(-7, 8));
    EXPECT_TRUE(group.quadMeshes.front().doDeleteMesh && group.quadMeshes.back().doDeleteMesh);
    EXPECT_TRUE(group.isLastIntersectionGood) << "left alone, so that the first query may stop at a hit";
}

TEST_F(MeshGroup, RefusesToLoadWhenTheLengthsDiffer) {
    RectMesh added = flatAt(0.0, 0.0);
    RectMeshGroup group;
    group.addQuadMesh(&added);
    EXPECT_EQ(messageOf([&] {
                  group.load({"a", "b"}, {{0, 0}});
              }),
              "Geometry::ThreeDimensional::QuadMesh::RectMeshGroup::load: number of fileNames and offsets "
              "mismatch.");
    EXPECT_EQ(meshesOf(group), (std::vector<RectMesh*>{&added})) << "nothing changed";
}

TEST_F(MeshGroup, KeepsTheFilesLoadedBeforeOneThatFails) {
    RectMeshGroup group;
    std::string const good = writeFlat("a.quads", 5, 5);
    EXPECT_TRUE(failsToOpen(
        [&] {
            group.load({good, file("missing.quads"), good}, {{1, 0}, {2, 0}, {3, 0}});
        },
        messageOf([&] { RectMesh().load(file("missing.quads").c_str()); })));
    ASSERT_EQ(meshesOf(group).size(), 1U);
    EXPECT_EQ(meshesOf(group)[0]->getOffset(), GridStep(1, 0));
}

// Queries

TEST_F(MeshGroup, EmptyAnswersTheDefaultStatus) {
    RectMeshGroup group;
    group.isLastIntersectionGood = true;
    for (int mode = 0; mode < 4; ++mode) {
        setQualityMode(mode);
        EXPECT_TRUE(isDefault(ask(group, downAt(0.0, 0.0))));
        EXPECT_FALSE(group.isLastIntersectionGood);
    }
}

TEST_F(MeshGroup, AsksBothThenOnlyTheOneThatAnsweredInModeZero) {
    setQualityMode(0);
    auto const first = notingFlat(0.0, 0.0);
    auto const second = notingFlat(100.0, 0.0);
    RectMeshGroup group;
    group.addQuadMesh(first.get());
    group.addQuadMesh(second.get());
    EXPECT_TRUE(ask(group, downAt(102.3, 2.4)).getIsValid());
    EXPECT_FALSE(first->nodes.empty());
    EXPECT_EQ(meshesOf(group), (std::vector<RectMesh*>{second.get(), first.get()}));
    EXPECT_EQ(group.getLastIntersectedRectMesh(), second.get());
    EXPECT_TRUE(group.isLastIntersectionGood);
    first->nodes.clear();
    EXPECT_EQ(ask(group, downAt(102.4, 2.4)).quadMesh, second.get());
    EXPECT_TRUE(first->nodes.empty()) << "not asked";
    EXPECT_EQ(group.getLastIntersectedRectMesh(), second.get());
}

TEST_F(MeshGroup, AsksEveryMemberEachTimeInModesOneAndTwo) {
    for (int const mode : {1, 2}) {
        setQualityMode(mode);
        auto const low = notingFlat(0.0, 0.0);
        auto const high = notingFlat(0.0, 10.0);
        RectMeshGroup group;
        group.addQuadMesh(low.get());
        group.addQuadMesh(high.get());
        for (int i = 0; i < 3; ++i) {
            low->nodes.clear();
            high->nodes.clear();
            ask(group, downAt(2.3, 2.4));
            EXPECT_FALSE(low->nodes.empty());
            EXPECT_FALSE(high->nodes.empty());
        }
        EXPECT_EQ(group.getLastIntersectedRectMesh(), mode == 1 ? high.get() : low.get())
            << "the nearer; of equal angles the first";
    }
}

TEST_F(MeshGroup, LeavesATieToTheEarlierPlace) {
    for (int const mode : {0, 1, 2}) {
        setQualityMode(mode);
        RectMesh a = flatAt(0.0, 0.0);
        RectMesh b = flatAt(0.0, 0.0);
        RectMeshGroup group;
        group.addQuadMesh(&a);
        group.addQuadMesh(&b);
        EXPECT_EQ(ask(group, downAt(2.3, 2.4)).quadMesh, &a);
        EXPECT_EQ(meshesOf(group), (std::vector<RectMesh*>{&a, &b}));
    }
}

TEST_F(MeshGroup, AnswersTheDefaultStatusAndKeepsItsOrderWhenAllMiss) {
    RectMesh a = flatAt(0.0, 0.0);
    RectMesh b = flatAt(100.0, 0.0);
    a.setOffset({5, 5});
    RectMeshGroup group;
    group.addQuadMesh(&a);
    group.addQuadMesh(&b);
    EXPECT_TRUE(ask(group, downAt(102.3, 2.4)).getIsValid());
    EXPECT_TRUE(isDefault(ask(group, downAt(-500.0, 0.0))));
    EXPECT_FALSE(group.isLastIntersectionGood);
    EXPECT_EQ(meshesOf(group), (std::vector<RectMesh*>{&b, &a}));
    EXPECT_EQ(group.getLastIntersectedRectMesh(), &b) << "still the previous one";
}

TEST_F(MeshGroup, StopsAtAPoorHitTooAndAsksAllAtTheNextQuery) {
    setQualityMode(0);
    auto const front = notingFlat(0.0, 0.0);
    auto const back = notingFlat(0.0, -10.0);
    front->setDoFlipNormals(true);
    RectMeshGroup group;
    group.addQuadMesh(front.get());
    group.addQuadMesh(back.get());
    group.isLastIntersectionGood = true;
    EXPECT_EQ(ask(group, downAt(2.3, 2.4)).quadMesh, front.get());
    EXPECT_TRUE(back->nodes.empty());
    EXPECT_FALSE(group.isLastIntersectionGood) << "the hit is from behind";
    EXPECT_EQ(ask(group, downAt(2.3, 2.4)).quadMesh, back.get()) << "the good one wins, though farther";
    EXPECT_TRUE(group.isLastIntersectionGood);
}

TEST_F(MeshGroup, DoesNotStopAtAMissOfTheFront) {
    setQualityMode(0);
    RectMesh a = flatAt(0.0, 0.0);
    RectMesh b = flatAt(100.0, 0.0);
    RectMeshGroup group;
    group.addQuadMesh(&a);
    group.addQuadMesh(&b);
    group.isLastIntersectionGood = true;
    EXPECT_EQ(ask(group, downAt(102.3, 2.4)).quadMesh, &b);
}

TEST_F(MeshGroup, PassesOverMeshesAtAnInactivePosition) {
    RectMesh a = flatAt(0.0, 10.0);
    RectMesh b = flatAt(0.0, 0.0);
    RectMeshGroup group;
    group.addQuadMesh(&a);
    group.addQuadMesh(&b);
    group.setActivePositionFlags({~(1UL << 3U), 0xFFFFFFFFUL});
    group.setPosition(3);
    EXPECT_EQ(ask(group, downAt(2.3, 2.4)).quadMesh, &b);
    group.setPosition(4);
    group.isLastIntersectionGood = false;
    EXPECT_EQ(ask(group, downAt(2.3, 2.4)).quadMesh, &a);
}

TEST_F(MeshGroup, HandsTheResetOnToEachMeshAsked) {
    setQualityMode(0);
    RectMesh a = flatAt(0.0, 0.0);
    RectMesh b = flatAt(0.0, -5.0);
    RectMeshGroup group;
    group.addQuadMesh(&a);
    group.addQuadMesh(&b);
    for (RectMesh* const mesh : {&a, &b}) {
        mesh->doResetSearch = false;
        mesh->lastQuadIndices = {4, 4};
    }
    group.isLastIntersectionGood = true;
    ask(group, downAt(1.3, 1.4), true);
    EXPECT_EQ(a.lastQuadIndices, GridIndex(1, 1));
    EXPECT_EQ(b.lastQuadIndices, GridIndex(4, 4)) << "not asked, and so not reset";
}

TEST_F(MeshGroup, IsThePlainGroupToTheBit) {
    std::mt19937 generator(1);
    int hits = 0;
    int stops = 0;
    for (int round = 0; round < 60; ++round) {
        auto const owned = randomGrids(generator, 1 + generator() % 5);
        std::vector<RectMesh*> grids;
        RectMeshGroup group;
        PlainGroup twin;
        for (auto const& grid : owned) {
            twin.members.emplace_back(static_cast<int>(grids.size()), twinOf(*grid));
            grids.push_back(grid.get());
            group.addQuadMesh(grid.get());
        }
        Beam beam = downAt(2.0, 5.0, 20.0);
        for (int i = 0; i < 60; ++i) {
            setQualityMode(static_cast<int>(i < 30 ? 0 : generator() % 4));
            QuadIntersectionData::isEnableFlipAngle = round % 7 == 0;
            beam = nextBeam(generator, beam);
            bool const doReset = generator() % 10 == 0;
            PlainAnswer const expected = twin.getIntersectionStatus(currentSettings(), plain(beam.origin),
                                                                    plain(beam.direction), doReset);
            QuadIndicesIntersectionStatus const actual = ask(group, beam, doReset);
            ASSERT_TRUE(sameAnswer(actual, expected, grids)) << "round " << round << ", beam " << i;
            ASSERT_TRUE(sameState(group, twin, grids)) << "round " << round << ", beam " << i;
            hits += expected.member >= 0 ? 1 : 0;
            stops += twin.asked.size() < twin.members.size() ? 1 : 0;
        }
    }
    EXPECT_GE(hits, 1000);
    EXPECT_GE(stops, 200);
}

// The box of the scan plane

TEST_F(MeshGroup, BoxOfOneMeshReachesFromTheOrigin) {
    RectMesh a = flatAt(0.0, 0.0);
    a.setOffset({10, 10});
    RectMeshGroup group;
    group.addQuadMesh(&a);
    EXPECT_TRUE(isBox(group.getUVBoundingBox(), 0, 0, 15, 15));
}

TEST_F(MeshGroup, BoxOfANegativeOffsetStartsThereAndEndsAtTheMesh) {
    RectMesh a = flatAt(0.0, 0.0);
    a.setOffset({-3, 0});
    RectMeshGroup group;
    group.addQuadMesh(&a);
    EXPECT_TRUE(isBox(group.getUVBoundingBox(), -3, 0, 5, 5));
    a.setOffset({-20, -30});
    EXPECT_TRUE(isBox(group.getUVBoundingBox(), -20, -30, 20, 30)) << "it holds the origin";
}

TEST_F(MeshGroup, BoxesAreThePlainUnionFromMeshesAndFromHeaders) {
    std::mt19937 generator(2);
    for (int round = 0; round < 30; ++round) {
        RectMeshGroup group;
        std::vector<std::string> names;
        std::vector<GridStep> offsets;
        std::vector<PlainIndexBox> boxes;
        for (unsigned i = 0; i < generator() % 4; ++i) {
            auto const u = static_cast<std::uint32_t>(1 + generator() % 6);
            auto const v = static_cast<std::uint32_t>(1 + generator() % 6);
            int const offsetU = static_cast<int>(generator() % 40) - 20;
            int const offsetV = static_cast<int>(generator() % 40) - 20;
            names.push_back(writeFlat(std::to_string(i) + ".quads", u, v));
            offsets.emplace_back(offsetU, offsetV);
            boxes.push_back({{offsetU, offsetV}, {static_cast<int>(u), static_cast<int>(v)}});
        }
        PlainIndexBox const expected = plainUnited(boxes);
        group.load(names, offsets);
        EXPECT_TRUE(isBox(group.getUVBoundingBox(), expected.low.u, expected.low.v, expected.size.u,
                          expected.size.v));
        EXPECT_TRUE(isBox(RectMeshGroup::getUVBoundingBox(names, offsets), expected.low.u, expected.low.v,
                          expected.size.u, expected.size.v));
    }
}

TEST_F(MeshGroup, BoxFromHeadersReadsNoGridAndCountsAMeshAFile) {
    std::string const path = writeFlat("a.quads", 5, 7);
    std::filesystem::resize_file(path, 8 + 4 + 128 + 2 * 4 + 3 * 8 + 4); // the header alone
    std::uint32_t const before = RectMesh::creationCount;
    EXPECT_TRUE(isBox(RectMeshGroup::getUVBoundingBox({path, path}, {{2, 3}, {0, 0}}), 0, 0, 7, 10));
    EXPECT_EQ(RectMesh::creationCount, before + 2);
    EXPECT_TRUE(isBox(RectMeshGroup::getUVBoundingBox({}, {}), 0, 0, 0, 0));
}

TEST_F(MeshGroup, RefusesABoxFromHeadersWhenTheLengthsDiffer) {
    EXPECT_EQ(messageOf([] { RectMeshGroup::getUVBoundingBox({"a"}, {}); }),
              "Geometry::ThreeDimensional::QuadMesh::RectMeshGroup::getUVBoundingBox: number of fileNames "
              "and offsets mismatch.");
}

// Settings

TEST_F(MeshGroup, GivesSettingsToTheMeshesInTheOrderOfTheList) {
    RectMesh a = flatAt(0.0, 0.0);
    RectMesh b = flatAt(100.0, 0.0);
    RectMeshGroup group;
    group.addQuadMesh(&a);
    group.addQuadMesh(&b);
    group.setActivePositionFlags({1, 2});
    group.setDoFlipNormals({true, false});
    group.setDoFlipAxes({true, false}, {false, true});
    EXPECT_EQ(a.activePositionFlags, 1U);
    EXPECT_EQ(b.activePositionFlags, 2U);
    EXPECT_TRUE(a.doFlipNormals && !b.doFlipNormals);
    EXPECT_TRUE(a.doFlipUAxis && !a.doFlipVAxis && !b.doFlipUAxis && b.doFlipVAxis);
    group.setActivePositionFlags({1, 1});
    EXPECT_TRUE(ask(group, downAt(102.3, 2.4)).getIsValid());
    group.setActivePositionFlags({1, 2});
    EXPECT_EQ(b.activePositionFlags, 1U) << "now in front";
    EXPECT_EQ(a.activePositionFlags, 2U);
    group.setPosition(9);
    EXPECT_EQ(a.position, 9U);
    EXPECT_EQ(b.position, 9U);
}

TEST_F(MeshGroup, RefusesSettingsOfAnotherNumberAndChangesNoMesh) {
    RectMesh a = flatAt(0.0, 0.0);
    RectMesh b = flatAt(100.0, 0.0);
    RectMeshGroup group;
    group.addQuadMesh(&a);
    group.addQuadMesh(&b);
    std::string const flags = "Geometry::ThreeDimensional::QuadMesh::setActivePositionFlags::load: number of "
                              "activePositionFlags and quad meshes mismatch.";
    std::string const normals = "Geometry::ThreeDimensional::QuadMesh::setDoFlipNormals::load: number of "
                                "doFlipNormals and quad meshes mismatch.";
    std::string const axes = "Geometry::ThreeDimensional::QuadMesh::setDoFlipAxes::load: number of "
                             "doFlipUAxes or doFlipVAxes and quad meshes mismatch.";
    EXPECT_EQ(messageOf([&] { group.setActivePositionFlags({1}); }), flags);
    EXPECT_EQ(messageOf([&] { group.setActivePositionFlags({1, 2, 3}); }), flags);
    EXPECT_EQ(messageOf([&] { group.setDoFlipNormals({true}); }), normals);
    EXPECT_EQ(messageOf([&] { group.setDoFlipNormals({true, true, true}); }), normals);
    EXPECT_EQ(messageOf([&] { group.setDoFlipAxes({true}, {true, true}); }), axes);
    EXPECT_EQ(messageOf([&] { group.setDoFlipAxes({true, true}, {true, true, true}); }), axes);
    for (RectMesh const* mesh : {&a, &b}) {
        EXPECT_EQ(mesh->activePositionFlags, RectMesh().activePositionFlags);
        EXPECT_FALSE(mesh->doFlipNormals || mesh->doFlipUAxis || mesh->doFlipVAxis);
    }
}

TEST_F(MeshGroup, TransformsEveryMesh) {
    RectMesh a;
    RectMesh b;
    a = flatAt(0.0, 0.0);
    b = wavyGrid(6, 4, 0.3);
    RectMesh expectedA;
    RectMesh expectedB;
    expectedA = a;
    expectedB = b;
    LinearMap turn;
    turn.setRotation(LinearMap::Y, 0.3);
    AffineMap const map(turn, {1.0, 2.0, 3.0});
    SpacePoint const origin(0.5, -1.0, 2.0);
    expectedA.transform(origin, map);
    expectedB.transform(origin, map);
    RectMeshGroup group;
    group.addQuadMesh(&a);
    group.addQuadMesh(&b);
    group.transform(origin, map);
    EXPECT_TRUE(sameNodes(a, plainGridOf(expectedA)));
    EXPECT_TRUE(sameNodes(b, plainGridOf(expectedB)));
}

} // namespace
} // namespace QELT::Testing
