#include "Inspection/parts/neighbours.h"

#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

namespace QELT::Inspection {
namespace {

using namespace Testing;

TEST(Neighbours, areToldNearestFirstByTheirPlaceInTheFile) {
    ScratchDirectory const directory;
    writeText(directory / "c.xyz", "9 0 0\n1 0 0\n4 0 0\n");
    auto const found = findNeighbours({directory / "c.xyz", Point(0.0, 0.0, 0.0), 2}, nullptr);
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].index, 1U);
    EXPECT_EQ(found[0].point, Point(1.0, 0.0, 0.0));
    EXPECT_EQ(found[0].distance, 1.0);
    EXPECT_EQ(found[1].index, 2U);
}

TEST(Neighbours, areNoMoreThanTheCloudHolds) {
    ScratchDirectory const directory;
    writeText(directory / "c.xyz", "9 0 0\n");
    EXPECT_EQ(messageOf([&] {
                  findNeighbours({directory / "c.xyz", Point(), 2}, nullptr);
              }),
              (directory / "c.xyz").string() + ": holds 1 point, 2 asked for");
    EXPECT_EQ(messageOf([&] {
                  findNeighbours({directory / "c.xyz", Point(), 0}, nullptr);
              }),
              (directory / "c.xyz").string() + ": no neighbours asked for");
}

} // namespace
} // namespace QELT::Inspection
