#include "Geometry/groups/rectmeshgroups.h"

#include "tests/groups/grouptwins.h"
#include "tests/support/gridchecks.h"
#include "tests/support/plain_quadfile.h"

#include <cmath>
#include <fstream>
#include <type_traits>

namespace QELT::Testing {
namespace {

using Geometry::ThreeDimensional::AffineMap;
using Geometry::ThreeDimensional::LinearMap;
using Names = std::vector<std::vector<std::string>>;
using Offsets = std::vector<std::vector<GridStep>>;

class MeshGroups : public GroupTest {
protected:
    /// Two groups of two flat grids each, at heights 0, 1, 2 and 3 and at x = 0 and x = 100.
    void loadFour(RectMeshGroups& groups) const {
        groups.load({{writeFlat("a.quads", 5, 5, 0.0), writeFlat("b.quads", 5, 5, 1.0)},
                     {writeFlat("c.quads", 5, 5, 2.0), writeFlat("d.quads", 5, 5, 3.0)}},
                    {{{0, 0}, {10, 0}}, {{0, 10}, {10, 10}}});
    }
};

static_assert(std::has_virtual_destructor_v<RectMeshGroups>);

QuadIndicesIntersectionStatus ask(RectMeshGroups& groups, Beam const& beam, bool doReset = false) {
    return groups.getIntersectionStatus(beam.origin, beam.direction, doReset);
}

std::vector<RectMeshGroup*> groupsOf(RectMeshGroups const& groups) {
    return {groups.groups.begin(), groups.groups.end()};
}

std::vector<RectMesh*> allMeshesOf(RectMeshGroups const& groups) {
    std::vector<RectMesh*> meshes;
    for (RectMeshGroup const* const group : groups.groups) {
        std::vector<RectMesh*> const members = meshesOf(*group);
        meshes.insert(meshes.end(), members.begin(), members.end());
    }
    return meshes;
}

// Ownership

TEST_F(MeshGroups, IsEmptyAndNotGoodAtFirst) {
    RectMeshGroups const groups;
    EXPECT_TRUE(groups.groups.empty());
    EXPECT_FALSE(groups.isLastIntersectionGood);
    EXPECT_EQ(groups.getLastIntersectedRectMesh(), nullptr);
    EXPECT_TRUE(isBox(groups.getUVBoundingBox(), 0, 0, 0, 0));
    EXPECT_EQ(groups.getExtents(), GridExtents(0, 0));
}

TEST_F(MeshGroups, LoadsGroupsInPlaceOfThoseItHad) {
    RectMeshGroups groups;
    loadFour(groups);
    groups.isLastIntersectionGood = true;
    groups.load({{writeFlat("e.quads", 2, 3)}, {}, {writeFlat("f.quads", 4, 1)}}, {{{1, 2}}, {}, {{3, 4}}});
    ASSERT_EQ(groups.groups.size(), 3U);
    std::vector<RectMesh*> const meshes = allMeshesOf(groups);
    ASSERT_EQ(meshes.size(), 2U);
    EXPECT_EQ(meshes[0]->getExtents(), GridExtents(2, 3));
    EXPECT_EQ(meshes[1]->getOffset(), GridStep(3, 4));
    EXPECT_TRUE(groups.isLastIntersectionGood);
}

TEST_F(MeshGroups, RefusesToLoadWhenTheOuterLengthsDiffer) {
    RectMeshGroups groups;
    loadFour(groups);
    std::vector<RectMesh*> const before = allMeshesOf(groups);
    EXPECT_EQ(messageOf([&] {
                  groups.load({{"a"}, {"b"}}, {{{0, 0}}});
              }),
              "Geometry::ThreeDimensional::QuadMesh::RectMeshGroups::load: number of groupFileNames and "
              "groupOffsets mismatch.");
    EXPECT_EQ(allMeshesOf(groups), before);
}

TEST_F(MeshGroups, ReportsAnInnerMismatchByTheMessageOfTheGroup) {
    RectMeshGroups groups;
    std::string const path = writeFlat("a.quads", 5, 5);
    EXPECT_EQ(messageOf([&] {
                  groups.load({{path}, {path, path}}, {{{0, 0}}, {{0, 0}}});
              }),
              "Geometry::ThreeDimensional::QuadMesh::RectMeshGroup::load: number of fileNames and offsets "
              "mismatch.");
    EXPECT_EQ(groups.groups.size(), 1U) << "the group before it stays";
}

TEST_F(MeshGroups, PassesOnTheFailureOfAFile) {
    RectMeshGroups groups;
    std::string const path = writeFlat("a.quads", 5, 5);
    EXPECT_TRUE(failsToOpen(
        [&] {
            groups.load({{path}, {file("missing.quads")}}, {{{0, 0}}, {{0, 0}}});
        },
        messageOf([&] { RectMesh().load(file("missing.quads").c_str()); })));
    EXPECT_EQ(groups.groups.size(), 1U);
}

TEST_F(MeshGroups, CopySharesGroupsAndFlagAndMayBeDestroyedInAnyOrder) {
    for (bool const isSourceFirst : {false, true}) {
        auto source = std::make_unique<RectMeshGroups>();
        loadFour(*source);
        source->isLastIntersectionGood = true;
        auto copy = std::make_unique<RectMeshGroups>(*source);
        EXPECT_EQ(groupsOf(*copy), groupsOf(*source));
        EXPECT_TRUE(copy->isLastIntersectionGood);
        std::unique_ptr<RectMeshGroups>& first = isSourceFirst ? source : copy;
        std::unique_ptr<RectMeshGroups>& second = isSourceFirst ? copy : source;
        first.reset();
        EXPECT_TRUE(ask(*second, downAt(2.3, 2.4)).getIsValid());
        second.reset();
    }
}

TEST_F(MeshGroups, CopyStaysUsableWhenTheSourceLoadsAnew) {
    RectMeshGroups source;
    loadFour(source);
    RectMeshGroups copy(source);
    source.load({}, {});
    EXPECT_TRUE(source.groups.empty());
    EXPECT_TRUE(ask(copy, downAt(2.3, 2.4)).getIsValid());
    copy.deleteGroups();
    EXPECT_TRUE(copy.groups.empty());
}

TEST_F(MeshGroups, AssignmentCopiesDeeplyInOrder) {
    RectMeshGroups source;
    loadFour(source);
    source.isLastIntersectionGood = true;
    RectMeshGroups target;
    loadFour(target);
    EXPECT_EQ(&(target = source), &target);
    std::vector<RectMesh*> const copies = allMeshesOf(target);
    std::vector<RectMesh*> const originals = allMeshesOf(source);
    ASSERT_EQ(copies.size(), 4U);
    ASSERT_EQ(target.groups.size(), 2U);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_NE(copies[i], originals[i]);
        EXPECT_TRUE(sameNodes(*copies[i], plainGridOf(*originals[i])));
        EXPECT_EQ(copies[i]->getOffset(), GridStep(0, 0)) << "offsets do not come along";
    }
    EXPECT_FALSE(target.isLastIntersectionGood);
    RectMeshGroups third;
    third.set(source);
    EXPECT_EQ(allMeshesOf(third).size(), 4U);
    EXPECT_NE(groupsOf(third)[0], groupsOf(source)[0]);
}

TEST_F(MeshGroups, AssignedToItselfIsEmpty) {
    RectMeshGroups groups;
    loadFour(groups);
    RectMeshGroups& itself = groups;
    groups = itself;
    EXPECT_TRUE(groups.groups.empty());
}

// Queries

TEST_F(MeshGroups, WithoutGroupsOrWithEmptyOnesAnswersTheDefaultStatus) {
    RectMeshGroups groups;
    groups.isLastIntersectionGood = true;
    EXPECT_TRUE(isDefault(ask(groups, downAt(0.0, 0.0))));
    EXPECT_FALSE(groups.isLastIntersectionGood);
    groups.addGroup();
    groups.addGroup();
    EXPECT_TRUE(isDefault(ask(groups, downAt(0.0, 0.0))));
    EXPECT_EQ(groups.getLastIntersectedRectMesh(), nullptr);
}

TEST_F(MeshGroups, BringsTheGroupThatAnsweredToTheFrontAndAsksItAlone) {
    setQualityMode(0);
    RectMesh a = flatAt(0.0, 0.0);
    RectMesh b = flatAt(100.0, 0.0);
    RectMesh c = flatAt(200.0, 0.0);
    RectMeshGroups groups;
    RectMeshGroup* const first = groups.addGroup();
    RectMeshGroup* const second = groups.addGroup();
    first->addQuadMesh(&a);
    second->addQuadMesh(&b);
    second->addQuadMesh(&c);
    EXPECT_EQ(ask(groups, downAt(202.3, 2.4)).quadMesh, &c);
    EXPECT_EQ(groupsOf(groups), (std::vector<RectMeshGroup*>{second, first}));
    EXPECT_EQ(meshesOf(*second), (std::vector<RectMesh*>{&c, &b}));
    EXPECT_TRUE(groups.isLastIntersectionGood && second->isLastIntersectionGood);
    first->isLastIntersectionGood = true;
    EXPECT_EQ(ask(groups, downAt(202.4, 2.4)).quadMesh, &c);
    EXPECT_TRUE(first->isLastIntersectionGood) << "not asked, or the miss would have put it out";
    EXPECT_TRUE(isDefault(ask(groups, downAt(-50.0, 0.0))));
    EXPECT_EQ(groups.getLastIntersectedRectMesh(), &c) << "a miss reorders nothing";
}

TEST_F(MeshGroups, AsksTheNextGroupWhenOneHasNoActiveMesh) {
    for (unsigned long const position : {3UL, 35UL, 4UL, 36UL}) {
        RectMesh near = flatAt(0.0, 10.0);
        RectMesh far = flatAt(0.0, 0.0);
        RectMeshGroups groups; // new ones each time, in which nothing has answered yet
        groups.addGroup()->addQuadMesh(&near);
        groups.addGroup()->addQuadMesh(&far);
        groups.setActivePositionFlags({{0xFFFFFFF7UL}, {0xFFFFFFFFUL}});
        groups.setPosition(position);
        EXPECT_EQ(near.position, position);
        bool const isNearActive = position % 32 != 3;
        EXPECT_EQ(ask(groups, downAt(2.3, 2.4)).quadMesh, isNearActive ? &near : &far)
            << "position " << position;
    }
}

TEST_F(MeshGroups, AsksEveryGroupInModesOneAndTwo) {
    for (int const mode : {1, 2}) {
        setQualityMode(mode);
        auto const low = notingFlat(0.0, 0.0);
        auto const high = notingFlat(0.0, 10.0);
        RectMeshGroups groups;
        groups.addGroup()->addQuadMesh(low.get());
        groups.addGroup()->addQuadMesh(high.get());
        for (int i = 0; i < 3; ++i) {
            low->nodes.clear();
            high->nodes.clear();
            EXPECT_EQ(ask(groups, downAt(2.3, 2.4)).quadMesh, mode == 1 ? high.get() : low.get())
                << "the nearer; of equal angles the first";
            EXPECT_FALSE(low->nodes.empty());
            EXPECT_FALSE(high->nodes.empty());
            EXPECT_TRUE(groups.isLastIntersectionGood);
        }
    }
}

TEST_F(MeshGroups, ReportsIndicesOfTheScanPlane) {
    RectMeshGroups groups;
    groups.load({{writeFlat("a.quads", 5, 5)}}, {{{-30, 40}}});
    EXPECT_EQ(ask(groups, downAt(1.3, 2.4)).getIndices(), GridIndex(-29, 42));
    groups.setDoFlipAxes({{true}}, {{false}});
    EXPECT_EQ(ask(groups, downAt(1.3, 2.4)).getIndices(), GridIndex(-27, 42)) << "4 - 1 - 30";
}

TEST_F(MeshGroups, IsThePlainGroupsToTheBit) {
    std::mt19937 generator(3);
    int hits = 0;
    int stops = 0;
    for (int round = 0; round < 50; ++round) {
        auto const owned = randomGrids(generator, 2 + generator() % 6);
        std::vector<RectMesh*> grids;
        RectMeshGroups groups;
        PlainGroups twin;
        std::vector<RectMeshGroup*> numbered;
        for (auto const& grid : owned) {
            if (numbered.empty() || generator() % 2 == 0) {
                twin.groups.emplace_back(static_cast<int>(numbered.size()), PlainGroup());
                numbered.push_back(groups.addGroup());
            }
            twin.groups.back().second.members.emplace_back(static_cast<int>(grids.size()), twinOf(*grid));
            numbered.back()->addQuadMesh(grid.get());
            grids.push_back(grid.get());
        }
        Beam beam = downAt(2.0, 5.0, 20.0);
        for (int i = 0; i < 60; ++i) {
            setQualityMode(static_cast<int>(i < 30 ? 0 : generator() % 4));
            beam = nextBeam(generator, beam);
            bool const doReset = generator() % 10 == 0;
            PlainAnswer const expected = twin.getIntersectionStatus(currentSettings(), plain(beam.origin),
                                                                    plain(beam.direction), doReset);
            ASSERT_TRUE(sameAnswer(ask(groups, beam, doReset), expected, grids)) << round << ", beam " << i;
            ASSERT_EQ(groups.isLastIntersectionGood, twin.isLastIntersectionGood);
            std::vector<RectMeshGroup*> const order = groupsOf(groups);
            for (std::size_t k = 0; k < order.size(); ++k) {
                ASSERT_EQ(order[k], numbered[static_cast<std::size_t>(twin.groups[k].first)]);
                ASSERT_TRUE(sameState(*order[k], twin.groups[k].second, grids));
            }
            hits += expected.member >= 0 ? 1 : 0;
            stops += twin.asked.size() < twin.groups.size() ? 1 : 0;
        }
    }
    EXPECT_GE(hits, 1000);
    EXPECT_GE(stops, 200);
}

// The scan plane

TEST_F(MeshGroups, ExtentsAreTheHighCornerFromThePlanesOrigin) {
    RectMeshGroups groups;
    std::string const path = writeFlat("a.quads", 5, 5);
    groups.load({{path}}, {{{10, 10}}});
    EXPECT_EQ(groups.getExtents(), GridExtents(15, 15));
    groups.load({{path}}, {{{-3, 0}}});
    EXPECT_EQ(groups.getExtents(), GridExtents(2, 5)) << "a negative offset does not enlarge them";
    EXPECT_TRUE(isBox(groups.getUVBoundingBox(), -3, 0, 5, 5));
}

TEST_F(MeshGroups, BoxesAreThoseOfAllGroupsFromMeshesAndFromHeaders) {
    std::string const a = writeFlat("a.quads", 5, 7);
    std::string const b = writeFlat("b.quads", 2, 3);
    Names const names = {{a, b}, {}, {b}};
    Offsets const offsets = {{{10, 0}, {-4, 2}}, {}, {{0, 30}}};
    PlainIndexBox const expected = plainUnited({{{10, 0}, {5, 7}}, {{-4, 2}, {2, 3}}, {{0, 30}, {2, 3}}});
    RectMeshGroups groups;
    groups.load(names, offsets);
    EXPECT_TRUE(
        isBox(groups.getUVBoundingBox(), expected.low.u, expected.low.v, expected.size.u, expected.size.v));
    std::uint32_t const before = RectMesh::creationCount;
    EXPECT_TRUE(isBox(RectMeshGroups::getUVBoundingBox(names, offsets), expected.low.u, expected.low.v,
                      expected.size.u, expected.size.v));
    EXPECT_EQ(RectMesh::creationCount, before + 3);
}

TEST_F(MeshGroups, RefusesABoxFromHeadersWhenTheLengthsDiffer) {
    EXPECT_EQ(messageOf([] { RectMeshGroups::getUVBoundingBox({{"a"}}, {}); }),
              "Geometry::ThreeDimensional::QuadMesh::RectMeshGroups::getUVBoundingBox: number of "
              "groupFileNames and groupOffsets mismatch.");
    EXPECT_EQ(messageOf([] { RectMeshGroups::getUVBoundingBox({{"a"}}, {{}}); }),
              "Geometry::ThreeDimensional::QuadMesh::RectMeshGroup::getUVBoundingBox: number of fileNames "
              "and offsets mismatch.");
}

struct AreaInfos {
    double min = -9.0;
    double mean = -9.0;
    double max = -9.0;
    double total = -9.0;
    bool isAny = false;
};

AreaInfos areaInfosOf(Names const& names) {
    AreaInfos infos;
    infos.isAny = RectMeshGroups::getQuadAreaInfos(names, infos.min, infos.mean, infos.max, infos.total);
    return infos;
}

void writeHeader(std::string const& path, std::uint32_t u, std::uint32_t v, double mean, double min,
                 double max) {
    PlainQuadFile plain = exampleQuadFile(1, 0);
    plain.extentU = u;
    plain.extentV = v;
    plain.meanQuadArea = mean;
    plain.minQuadArea = min;
    plain.maxQuadArea = max;
    plain.flags.assign(plain.getNodeCount(), 0);
    plain.points.assign(plain.getNodeCount(), {0.0, 0.0, 0.0});
    std::string const bytes = encodeQuadFile(plain);
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

TEST_F(MeshGroups, AreaInfosOfOneFile) {
    writeHeader(file("a.quads"), 10, 20, 2.0, 0.5, 3.0);
    std::uint32_t const before = RectMesh::creationCount;
    AreaInfos const infos = areaInfosOf({{file("a.quads")}});
    EXPECT_TRUE(infos.isAny);
    EXPECT_EQ(infos.total, 400.0);
    EXPECT_EQ(infos.mean, 2.0);
    EXPECT_EQ(infos.min, 0.5);
    EXPECT_EQ(infos.max, 3.0);
    EXPECT_EQ(RectMesh::creationCount, before + 1) << "a mesh is made for each file";
}

TEST_F(MeshGroups, AreaInfosOfSeveralFilesWeighMeansByQuads) {
    writeHeader(file("a.quads"), 10, 20, 2.0, 0.5, 3.0);
    writeHeader(file("b.quads"), 5, 4, 8.0, 0.25, 2.5);
    writeHeader(file("c.quads"), 2, 2, 1.0, 0.75, 9.0);
    AreaInfos const infos = areaInfosOf({{file("a.quads"), file("b.quads")}, {}, {file("c.quads")}});
    EXPECT_TRUE(infos.isAny);
    EXPECT_EQ(infos.total, 400.0 + 160.0 + 4.0);
    EXPECT_EQ(infos.mean, 564.0 / 224.0);
    EXPECT_EQ(infos.min, 0.25);
    EXPECT_EQ(infos.max, 9.0);
}

TEST_F(MeshGroups, AreaInfosOfNoFilesAreFalseAndWritten) {
    for (Names const& names : {Names(), Names{{}, {}}}) {
        AreaInfos const infos = areaInfosOf(names);
        EXPECT_FALSE(infos.isAny);
        EXPECT_EQ(infos.min, 1e20);
        EXPECT_TRUE(std::isnan(infos.mean));
        EXPECT_EQ(infos.max, 0.0);
        EXPECT_EQ(infos.total, 0.0);
    }
}

TEST_F(MeshGroups, AreaInfosStartFromLimitsThatAreStrict) {
    writeHeader(file("a.quads"), 1, 1, 2e20, 2e20, -1.0);
    AreaInfos const infos = areaInfosOf({{file("a.quads")}});
    EXPECT_EQ(infos.min, 1e20);
    EXPECT_EQ(infos.max, 0.0);
    EXPECT_EQ(infos.mean, 2e20);
}

TEST_F(MeshGroups, AreaInfosCountQuadsIn32Bits) {
    PlainQuadFile plain = exampleQuadFile(1, 0);
    plain.extentU = 0x10000;
    plain.extentV = 0x10001;
    plain.meanQuadArea = 1.0;
    std::string const bytes = encodeQuadFile(plain);
    std::ofstream(file("a.quads"), std::ios::binary)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    AreaInfos const infos = areaInfosOf({{file("a.quads")}});
    EXPECT_EQ(infos.total, 65536.0 * 65537.0);
    EXPECT_EQ(infos.mean, 65536.0 * 65537.0 / 65536.0) << "2^32 + 2^16 quads wrap to 2^16";
}

// Settings

TEST_F(MeshGroups, GivesSettingsToTheGroupsInTheOrderOfTheList) {
    RectMeshGroups groups;
    loadFour(groups);
    std::vector<RectMesh*> const meshes = allMeshesOf(groups);
    groups.setActivePositionFlags({{1, 2}, {4, 8}});
    groups.setDoFlipNormals({{true, false}, {false, true}});
    groups.setDoFlipAxes({{true, false}, {false, false}}, {{false, false}, {true, false}});
    groups.setPosition(7);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(meshes[i]->activePositionFlags, 1U << i);
        EXPECT_EQ(meshes[i]->doFlipNormals, i == 0 || i == 3);
        EXPECT_EQ(meshes[i]->doFlipUAxis, i == 0);
        EXPECT_EQ(meshes[i]->doFlipVAxis, i == 2);
        EXPECT_EQ(meshes[i]->position, 7U);
    }
    groups.groups.move_to_front(groups.groups.back());
    groups.setActivePositionFlags({{1, 2}, {4, 8}});
    EXPECT_EQ(meshes[2]->activePositionFlags, 1U) << "its group is in front now";
}

TEST_F(MeshGroups, RefusesSettingsOfAnotherOuterNumber) {
    RectMeshGroups groups;
    loadFour(groups);
    std::string const prefix = "Geometry::ThreeDimensional::QuadMesh::RectMeshGroup::";
    EXPECT_EQ(messageOf([&] {
                  groups.setActivePositionFlags({{1, 2}});
              }),
              prefix + "setActivePositionFlags: groupPositionActiveFlags size mismatch.");
    EXPECT_EQ(messageOf([&] {
                  groups.setDoFlipNormals({{true, true}, {true, true}, {}});
              }),
              prefix + "setDoFlipNormals: groupDoFlipNormals size mismatch.");
    std::string const axes = prefix + "setDoFlipAxes: groupDoFlipUAxes or groupDoFlipVAxes size mismatch.";
    EXPECT_EQ(messageOf([&] { groups.setDoFlipAxes({{true, true}}, {{true, true}, {true, true}}); }), axes);
    EXPECT_EQ(messageOf([&] { groups.setDoFlipAxes({{true, true}, {true, true}}, {{true, true}}); }), axes);
    for (RectMesh const* mesh : allMeshesOf(groups)) {
        EXPECT_EQ(mesh->activePositionFlags, RectMesh().activePositionFlags);
        EXPECT_FALSE(mesh->doFlipNormals || mesh->doFlipUAxis || mesh->doFlipVAxis);
    }
}

TEST_F(MeshGroups, KeepsTheSettingsOfTheGroupsBeforeAnInnerMismatch) {
    RectMeshGroups groups;
    loadFour(groups);
    std::vector<RectMesh*> const meshes = allMeshesOf(groups);
    EXPECT_EQ(messageOf([&] {
                  groups.setDoFlipNormals({{true, true}, {true}});
              }),
              "Geometry::ThreeDimensional::QuadMesh::setDoFlipNormals::load: number of doFlipNormals and "
              "quad meshes mismatch.");
    EXPECT_TRUE(meshes[0]->doFlipNormals && meshes[1]->doFlipNormals);
    EXPECT_FALSE(meshes[2]->doFlipNormals || meshes[3]->doFlipNormals);
}

TEST_F(MeshGroups, TransformsEachGroupByItsOwnMap) {
    RectMeshGroups groups;
    loadFour(groups);
    std::vector<RectMesh*> const meshes = allMeshesOf(groups);
    std::vector<RectMesh> expected(4);
    for (std::size_t i = 0; i < 4; ++i) {
        expected[i] = *meshes[i];
    }
    std::vector<SpacePoint> const origins = {{1.0, 2.0, 3.0}, {-4.0, 0.0, 0.5}};
    LinearMap turn;
    turn.setRotation(LinearMap::X, 0.7);
    LinearMap other;
    other.setRotation(LinearMap::Z, -0.4);
    std::vector<AffineMap> const maps = {{turn, {1.0, 0.0, 0.0}}, {other, {0.0, 5.0, 0.0}}};
    groups.transform(origins, maps);
    for (std::size_t i = 0; i < 4; ++i) {
        expected[i].transform(origins[i / 2], maps[i / 2]);
        EXPECT_TRUE(sameNodes(*meshes[i], plainGridOf(expected[i]))) << i;
    }
}

TEST_F(MeshGroups, RefusesToTransformByAnotherNumberOfOriginsFirstOrOfMaps) {
    RectMeshGroups groups;
    loadFour(groups);
    PlainGrid const before = plainGridOf(*allMeshesOf(groups)[0]);
    EXPECT_EQ(messageOf([&] { groups.transform(std::vector<SpacePoint>(1), {}); }),
              "Geometry::ThreeDimensional::QuadMesh::RectMeshGroup::transform: groupOrigins size mismatch.");
    EXPECT_EQ(messageOf([&] { groups.transform(std::vector<SpacePoint>(2), std::vector<AffineMap>(3)); }),
              "Geometry::ThreeDimensional::QuadMesh::RectMeshGroup::transform: groupMaps size mismatch.");
    EXPECT_TRUE(sameNodes(*allMeshesOf(groups)[0], before));
}

} // namespace
} // namespace QELT::Testing
