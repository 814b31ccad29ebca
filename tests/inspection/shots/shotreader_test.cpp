#include "Inspection/shots/shotreader.h"

#include "Inspection/scanning/csvfile.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <cmath>

namespace QELT::Inspection {
namespace {

using Testing::messageOf;
using Testing::ScratchDirectory;
using Testing::writeText;

TEST(ShotReader, ReadsATableOfBeamsWithValues) {
    ScratchDirectory const directory;
    writeText(directory / "s.csv", "ox,oy,oz,dx,dy,dz,amp[%FSH],remark,tof [us]\n"
                                   "1,2,3.1,0,0,-1,80,good,2.5\n4,5,6,0,-1,0,,bad,\n");
    ShotOptions options;
    options.shots = directory / "s.csv";
    options.move = Vector(0.5, 0.0, 0.0);
    ShotReader reader(options);
    ASSERT_EQ(reader.getQuantities().size(), 2U);
    EXPECT_EQ(reader.getQuantities()[0].name, "amp");
    EXPECT_EQ(reader.getQuantities()[1].unit, "us");
    EXPECT_EQ(reader.getUnusedColumns(), std::vector<std::string>{"'remark' (holds no numbers)"});
    ShotBlock block;
    ASSERT_TRUE(reader.read(block, 1));
    ASSERT_EQ(block.size(), 1U);
    EXPECT_EQ(block.beams[0].origin, Point(1.5, 2.0, 3.1));
    EXPECT_EQ(block.beams[0].direction.getdZ(), -1.0);
    EXPECT_EQ(block.values, (std::vector<double>{80.0, 2.5}));
    EXPECT_EQ(block.lines[0], 2U);
    EXPECT_TRUE(block.hasDirection[0]);
    ASSERT_TRUE(reader.read(block, 10));
    ASSERT_EQ(block.size(), 1U);
    EXPECT_TRUE(std::isnan(block.values[0]) && std::isnan(block.values[1]));
    EXPECT_FALSE(reader.read(block, 10));
    EXPECT_EQ(reader.getCounts().given, 2U);
}

} // namespace
} // namespace QELT::Inspection
