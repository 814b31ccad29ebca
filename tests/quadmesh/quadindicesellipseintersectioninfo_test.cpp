#include "Geometry/quadmesh/quadindicesellipseintersectioninfo.h"

#include <gtest/gtest.h>

namespace QELT::Testing {

namespace {

using Info = Geometry::ThreeDimensional::QuadMesh::QuadIndicesEllipseIntersectionInfo;
using GridIndex = Geometry::TwoDimensional::Point<int>;
using GridStep = Geometry::TwoDimensional::Vector<int>;

void expectFilled(Info const& info) {
    EXPECT_EQ(info.getCentre(), GridIndex(1, 2));
    EXPECT_EQ(info.getAxisA1(), GridStep(3, 4));
    EXPECT_EQ(info.getAxisB1(), GridStep(5, 6));
    EXPECT_EQ(info.getAxisA2(), GridStep(7, 8));
    EXPECT_EQ(info.getAxisB2(), GridStep(9, 10));
    EXPECT_EQ(info.getUnity(), 11);
}

} // namespace

TEST(EllipseIntersectionInfo, DefaultHasNoExtent) {
    Info const info;
    EXPECT_EQ(info.getCentre(), GridIndex(0, 0));
    EXPECT_EQ(info.getAxisA1(), GridStep(0, 0));
    EXPECT_EQ(info.getAxisB1(), GridStep(0, 0));
    EXPECT_EQ(info.getAxisA2(), GridStep(0, 0));
    EXPECT_EQ(info.getAxisB2(), GridStep(0, 0));
}

TEST(EllipseIntersectionInfo, ConstructorTakesCentreA1B1A2B2AndUnity) {
    expectFilled(Info({1, 2}, {3, 4}, {5, 6}, {7, 8}, {9, 10}, 11));
}

TEST(EllipseIntersectionInfo, CopiesAreMemberwise) {
    Info const info({1, 2}, {3, 4}, {5, 6}, {7, 8}, {9, 10}, 11);
    Info const copy(info);
    expectFilled(copy);
    Info assigned;
    assigned = copy;
    expectFilled(assigned);
}

TEST(EllipseIntersectionInfo, AccessorsGiveReferencesToTheFields) {
    Info const info({1, 2}, {3, 4}, {5, 6}, {7, 8}, {9, 10}, 11);
    EXPECT_EQ(&info.getCentre(), &info.centre);
    EXPECT_EQ(&info.getAxisA1(), &info.axisA1);
    EXPECT_EQ(&info.getAxisB1(), &info.axisB1);
    EXPECT_EQ(&info.getAxisA2(), &info.axisA2);
    EXPECT_EQ(&info.getAxisB2(), &info.axisB2);
}

} // namespace QELT::Testing
