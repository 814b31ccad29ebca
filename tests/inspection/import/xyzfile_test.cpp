#include "Inspection/import/xyzfile.h"

#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <sstream>

namespace QELT::Inspection {
namespace {

std::vector<Point> cloudOf(std::string const& text) {
    std::istringstream stream(text);
    return readCloud(stream, "a.xyz");
}

OrientedCloud orientedCloudOf(std::string const& text) {
    std::istringstream stream(text);
    return readOrientedCloud(stream, "a.xyz");
}

std::string complaintOn(std::string const& text) {
    return Testing::messageOf([&] { cloudOf(text); });
}

TEST(XyzFile, readsBlanksCommasCommentsAndBothLineEnds) {
    auto const points =
        cloudOf("\xEF\xBB\xBF# scanner 7\n1 2 3\r\n\n  -1.5,\t2e1 , +3 # here\n4,5,6\n7\t8 9");
    ASSERT_EQ(points.size(), 4U);
    EXPECT_EQ(points[0], Point(1.0, 2.0, 3.0));
    EXPECT_EQ(points[1], Point(-1.5, 20.0, 3.0));
    EXPECT_EQ(points[2], Point(4.0, 5.0, 6.0));
    EXPECT_EQ(points[3], Point(7.0, 8.0, 9.0));
}

TEST(XyzFile, namesTheLineThatIsMalformed) {
    EXPECT_EQ(complaintOn("1 2 3\n#\n1 2\n"), "a.xyz, line 3: 3 numbers expected, 2 found");
    EXPECT_EQ(complaintOn("1 2 3 4\n1 2 3\n"), "a.xyz, line 2: 4 numbers expected, 3 found");
    EXPECT_EQ(complaintOn("1 2 3\n1 two 3\n"), "a.xyz, line 2: 'two' is not a number");
    EXPECT_EQ(complaintOn("1,,3\n"), "a.xyz, line 1: '' is not a number");
    EXPECT_EQ(complaintOn("1,2,\n"), "a.xyz, line 1: '' is not a number");
    EXPECT_EQ(complaintOn("1 nan 3\n"), "a.xyz, line 1: 'nan' is not a number");
    EXPECT_EQ(complaintOn("1 2 1e39\n"), "a.xyz, line 1: the point lies too far out");
    EXPECT_EQ(complaintOn("# nothing\n\n"), "a.xyz: holds no points");
}

TEST(XyzFile, readsNormalsOfAnyLengthButZero) {
    auto const cloud = orientedCloudOf("1 2 3 0 0 5\n4,5,6,-1,0,0\n");
    ASSERT_EQ(cloud.points.size(), 2U);
    EXPECT_EQ(cloud.points[1], Point(4.0, 5.0, 6.0));
    EXPECT_EQ(cloud.normals[0].getdZ(), 5.0);
    EXPECT_EQ(cloud.normals[1].getdX(), -1.0);
    EXPECT_EQ(Testing::messageOf([] { orientedCloudOf("1 2 3\n"); }),
              "a.xyz, line 1: 6 numbers expected, 3 found");
    EXPECT_EQ(Testing::messageOf([] { orientedCloudOf("1 2 3 0 0 0\n"); }),
              "a.xyz, line 1: the normal has no usable length");
}

TEST(XyzFile, knowsACloudByItsName) {
    EXPECT_TRUE(isCloudFile("a/b.xyz"));
    EXPECT_FALSE(isCloudFile("a.xyz/b.obj"));
}

} // namespace
} // namespace QELT::Inspection
