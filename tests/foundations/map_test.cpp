#include "Geometry/foundations/map.h"

#include "Geometry/foundations/object.h"
#include "Geometry/trimesh/edge.h"
#include "Geometry/trimesh/mesh.h"

#include <gtest/gtest.h>

#include <limits>
#include <type_traits>

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::BinarySpacePartition::Object;
using Geometry::ThreeDimensional::TriMesh::Edge;
using Geometry::ThreeDimensional::TriMesh::Map;

using RankedIndex = Map<unsigned long, double>;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

} // namespace

TEST(TriMeshMap, KeepsKeyAndRank) {
    RankedIndex const entry(7, 2.5);
    EXPECT_EQ(entry.gets(), 7U);
    EXPECT_EQ(entry.gett(), 2.5);
}

TEST(TriMeshMap, AnIndexIsKeptIn32Bits) {
    static_assert(sizeof(RankedIndex::Key) == 4);
    EXPECT_EQ(RankedIndex(0xFFFFFFFFUL, 0.0).gets(), 0xFFFFFFFFU);
}

TEST(TriMeshMap, OrderLooksAtTheRankAlone) {
    EXPECT_TRUE(RankedIndex(1, 3.0) > RankedIndex(9, 2.0));
    EXPECT_FALSE(RankedIndex(9, 2.0) > RankedIndex(1, 3.0));
    EXPECT_TRUE(RankedIndex(9, 2.0) < RankedIndex(1, 3.0));
    EXPECT_FALSE(RankedIndex(1, 3.0) < RankedIndex(9, 2.0));
}

TEST(TriMeshMap, EqualRanksAreNeitherGreaterNorLessWhateverTheKeys) {
    EXPECT_FALSE(RankedIndex(1, 2.0) > RankedIndex(9, 2.0));
    EXPECT_FALSE(RankedIndex(1, 2.0) < RankedIndex(9, 2.0));
    EXPECT_FALSE(RankedIndex(1, 0.0) > RankedIndex(1, -0.0));
}

TEST(TriMeshMap, ANaNIsNeitherGreaterNorLess) {
    for (double const other : {nan, -1.0, 0.0, std::numeric_limits<double>::infinity()}) {
        EXPECT_FALSE(RankedIndex(1, nan) > RankedIndex(2, other));
        EXPECT_FALSE(RankedIndex(1, nan) < RankedIndex(2, other));
        EXPECT_FALSE(RankedIndex(2, other) > RankedIndex(1, nan));
        EXPECT_FALSE(RankedIndex(2, other) < RankedIndex(1, nan));
    }
}

TEST(TriMeshMap, AssignmentTakesBothOver) {
    RankedIndex entry(1, 2.0);
    entry = RankedIndex(3, 4.0);
    EXPECT_EQ(entry.gets(), 3U);
    EXPECT_EQ(entry.gett(), 4.0);
}

TEST(TriMeshMap, RanksObjectsByDistance) {
    using Ranked = Map<Object const*, double>;
    Geometry::ThreeDimensional::Point const point(1, 2, 3);
    Ranked near(&point, 1.0);
    Ranked const far(nullptr, 2.0);
    EXPECT_TRUE(near < far);
    EXPECT_EQ(near.gets(), &point);
    near = far;
    EXPECT_EQ(near.gets(), nullptr);
    EXPECT_EQ(near.gett(), 2.0);
}

TEST(TriMeshMap, NestsAroundEdges) {
    using Inner = Map<Edge, bool>;
    using Middle = Map<Inner, int>;
    using Outer = Map<Middle, double>;
    static_assert(std::is_default_constructible_v<Inner> && std::is_default_constructible_v<Middle> &&
                  std::is_default_constructible_v<Outer>);
    Edge const edge(nullptr, 2);
    Outer const low(Middle(Inner(edge, true), 5), 1.0);
    Outer high(Middle(Inner(edge, false), 6), 3.0);
    EXPECT_TRUE(high > low);
    EXPECT_TRUE(low.gets().gets().gett());
    EXPECT_EQ(low.gets().gett(), 5);
    EXPECT_EQ(low.gets().gets().gets(), edge);
    high = low;
    EXPECT_EQ(high.gett(), 1.0);
    Outer const copy(high);
    EXPECT_EQ(copy.gets().gett(), 5);
}

TEST(TriMeshMap, HasNoVirtualOperation) {
    static_assert(!std::is_polymorphic_v<RankedIndex>);
    EXPECT_EQ(sizeof(RankedIndex), 16U);
}

} // namespace QELT::Testing
