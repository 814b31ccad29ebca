#include "Geometry/quadmesh/transformedrectmesh.h"
#include "tests/support/gridchecks.h"
#include "tests/support/gridfamilies.h"

#include <cstdint>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

namespace QELT::Testing {
namespace {

using Geometry::ThreeDimensional::QuadMesh::TransformedRectMesh;

/// Shows every point turned by a quarter turn about z and raised.
class TurnedGrid : public TransformedRectMesh {
public:
    SpacePoint getPoint(GridIndex const& p) const override {
        SpacePoint const stored = RectMesh::getPoint(p);
        return {-static_cast<double>(stored.getY()), stored.getX(), stored.getZ() + 5.0};
    }
};

static_assert(std::is_abstract_v<TransformedRectMesh>);
static_assert(std::is_base_of_v<RectMesh, TransformedRectMesh>);
static_assert(std::is_convertible_v<TransformedRectMesh*, RectMesh*>, "public base");
static_assert(sizeof(TransformedRectMesh) == sizeof(RectMesh), "no fields of its own");
static_assert(std::has_virtual_destructor_v<TransformedRectMesh>);

TEST(TransformedRectMesh, IsNumberedLikeAnyGrid) {
    std::uint32_t const count = RectMesh::creationCount;
    TurnedGrid const grid;
    EXPECT_EQ(RectMesh::creationCount, count + 1U);
    EXPECT_EQ(grid.fileName, "Unnamed" + std::to_string(count + 1U) + ".quads");
}

TEST(TransformedRectMesh, ReadersOfGeometrySeeWhatIsShown) {
    TurnedGrid grid;
    grid.RectMesh::operator=(flatGrid(4, 3));
    RectMesh& base = grid;
    EXPECT_EQ(base.getPoint({3, 1}), SpacePoint(-1.0, 3.0, 5.0));
    EXPECT_EQ(base.RectMesh::getPoint({3, 1}), SpacePoint(3.0, 1.0, 0.0));
    EXPECT_EQ(base.getMeanQuadPoint({0, 0}), SpacePoint(-0.5, 0.5, 5.0));
    EXPECT_EQ(base.getQuadBasis({1, 1}).first.getdY(), 1.0);
    auto const box = base.getBoundingBoxAA();
    EXPECT_EQ(box.getp(), SpacePoint(-3.0, 0.0, 5.0));
    EXPECT_EQ(box.getp1(), SpacePoint(0.0, 4.0, 5.0));
}

TEST(TransformedRectMesh, TheSearchMeetsWhatIsShown) {
    TurnedGrid grid;
    grid.RectMesh::operator=(flatGrid(6, 6));
    // Stored (2.75, 1.5): quad (2, 1), off its diagonal.
    auto const status = grid.getIntersection(SpacePoint(-1.5, 2.75, 9.0), {0.0, 0.0, -1.0});
    ASSERT_TRUE(status.getIsValid());
    EXPECT_EQ(status.getIndices(), GridIndex(2, 1));
    EXPECT_EQ(status.getIntersectionData().getDistanceToObject(), 4.0);
}

TEST(TransformedRectMesh, ACopySharesRowsAndOutlivesItsSource) {
    auto* const source = new TurnedGrid;
    source->RectMesh::operator=(flatGrid(4, 3));
    std::uint32_t const count = RectMesh::creationCount;
    TurnedGrid copy(*source);
    EXPECT_EQ(RectMesh::creationCount, count);
    EXPECT_EQ(copy.fileName, source->fileName);
    source->setPoint({1, 1}, SpacePoint(7.0, 8.0, 9.0));
    EXPECT_EQ(copy.getPoint({1, 1}), SpacePoint(-8.0, 7.0, 14.0));
    delete source;
    EXPECT_EQ(copy.getPoint({1, 1}), SpacePoint(-8.0, 7.0, 14.0));
    EXPECT_TRUE(copy.getIsQuadValid({0, 0}));
}

TEST(TransformedRectMesh, AssignmentIsThatOfTheBase) {
    TurnedGrid source;
    source.RectMesh::operator=(wavyGrid(5, 4, 1.0));
    punchHole(source, {1, 1}, {1, 2});
    source.setOffset({4, 4});
    source.sourceName = "blade";
    TurnedGrid target;
    target.setOffset({-1, 2});
    target = source;
    EXPECT_TRUE(sameNodes(target, plainGridOf(source)));
    EXPECT_EQ(target.getMeanQuadArea(), source.getMeanQuadArea());
    EXPECT_EQ(target.fileName, source.fileName);
    EXPECT_EQ(target.getOffset(), (Geometry::TwoDimensional::Vector<int>(-1, 2)));
    EXPECT_TRUE(target.sourceName.empty());
    // Rows of its own, with what is stored and not what is shown.
    source.setPoint({0, 0}, SpacePoint(1.0, 1.0, 1.0));
    EXPECT_NE(target.getPoint({0, 0}), source.getPoint({0, 0}));
    EXPECT_EQ(target.RectMesh::getPoint({4, 3}), source.RectMesh::getPoint({4, 3}));
}

} // namespace
} // namespace QELT::Testing
