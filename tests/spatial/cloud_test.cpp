#include "Geometry/spatial/cloud.h"

#include <type_traits>

#include <gtest/gtest.h>

namespace QELT::Geometry::ThreeDimensional::PointCloud {
namespace {

static_assert(std::has_virtual_destructor_v<Cloud>);

TEST(Cloud, IsEmptyAtFirst) {
    EXPECT_EQ(Cloud().getNumberOfPoints(), 0U);
}

TEST(Cloud, KeepsPointsInTheOrderOfTheirComing) {
    Cloud cloud;
    cloud.addPoint(Point(1.0, 2.0, 3.0));
    cloud.addPoint(Point(1.0, 2.0, 3.0));
    cloud.addPoint(Point(-1.0, 0.0, 0.1));
    ASSERT_EQ(cloud.getNumberOfPoints(), 3U);
    EXPECT_EQ(cloud.getPoint(1), Point(1.0, 2.0, 3.0));
    EXPECT_EQ(cloud.getPoint(2), Point(-1.0, 0.0, 0.1));
}

TEST(Cloud, WrapsIndicesModuloTheNumberOfPoints) {
    Cloud cloud;
    for (int i = 0; i < 5; ++i) {
        cloud.addPoint(Point(i, 0.0, 0.0));
    }
    EXPECT_EQ(&cloud.getPoint(5), &cloud.getPoint(0));
    EXPECT_EQ(&cloud.getPoint(6), &cloud.getPoint(1));
    EXPECT_EQ(&cloud.getPoint(0xFFFFFFFFUL), &cloud.getPoint(0xFFFFFFFFUL % 5UL));
    EXPECT_EQ(&cloud.getPoint(0x100000000UL), &cloud.getPoint(0)) << "indices have 32 bits";
}

TEST(Cloud, IsEmptyAsACopy) {
    Cloud source;
    for (int i = 0; i < 5; ++i) {
        source.addPoint(Point(i, 0.0, 0.0));
    }
    Cloud const copy(source); // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_EQ(copy.getNumberOfPoints(), 0U);
    EXPECT_EQ(source.getNumberOfPoints(), 5U);
}

TEST(Cloud, StaysAsItIsWhenAssigned) {
    Cloud source;
    Cloud target;
    for (int i = 0; i < 5; ++i) {
        source.addPoint(Point(i, 0.0, 0.0));
    }
    for (int i = 0; i < 3; ++i) {
        target.addPoint(Point(0.0, i, 0.0));
    }
    EXPECT_EQ(&(target = source), &target);
    ASSERT_EQ(target.getNumberOfPoints(), 3U);
    EXPECT_EQ(target.getPoint(2), Point(0.0, 2.0, 0.0));
}

} // namespace
} // namespace QELT::Geometry::ThreeDimensional::PointCloud
