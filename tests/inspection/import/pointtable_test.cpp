#include "Inspection/import/partfile.h"

#include "Inspection/import/xyzfile.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <sstream>

namespace QELT::Inspection {
namespace {

using Testing::messageOf;

using Triples = std::vector<std::array<double, 3>>;

PartAsRead tableOf(std::string const& text) {
    PartAsRead const part = readPart("a.csv", text);
    EXPECT_EQ(part.format, PartFormat::Table);
    EXPECT_FALSE(part.isMesh());
    return part;
}

std::string complaintOn(std::string const& text) {
    return messageOf([&] { readPart("a.csv", text); });
}

Triples const two{{1.5, 2.0, -3.25}, {4.0, 5e3, 6.0}};

TEST(PointTable, readsAllSeparatorsAndDecimalCommas) {
    EXPECT_EQ(tableOf("1.5 2 -3.25\n4 5e3 6\n").points, two);
    EXPECT_EQ(tableOf("1.5,2,-3.25\n4,5e3,6\n").points, two);
    EXPECT_EQ(tableOf("1.5\t2\t-3.25\r\n4\t5e3\t6\r\n").points, two);
    EXPECT_EQ(tableOf("1.5;2;-3.25\n4;5e3;6\n").points, two);
    EXPECT_EQ(tableOf("1,5;2;-3,25\n4;5e3;6\n").points, two);
    EXPECT_EQ(tableOf("1,5 2 -3,25\n4 5e3 6\n").points, two);
    EXPECT_EQ(tableOf("4 5e3 6\n1,5\t2,0\t-3,25\n").points, (Triples{two[1], two[0]}));
    EXPECT_EQ(tableOf("\"1.5\",\"2\",\"-3.25\"\n\"4\",\"5e3\",\"6\"\n").points, two);
}

TEST(PointTable, takesNoDecimalCommaForASeparator) {
    EXPECT_EQ(complaintOn("1,5 2,5 3,5\n1,5 2,5\n"), "a.csv, line 2: 3 numbers expected, 2 found");
    EXPECT_EQ(complaintOn("1,5;2,5;3.5,1\n"), "a.csv, line 1: '3.5,1' is not a number");
    EXPECT_EQ(complaintOn("1, 2, 3\n1,5 2,5 3,5\n"), "a.csv, line 2: 3 numbers expected, 6 found");
}

TEST(PointTable, findsColumnsByTheirNames) {
    EXPECT_EQ(tableOf("x,y,z\n1.5,2,-3.25\n4,5e3,6\n").points, two);
    EXPECT_EQ(tableOf("# a scan\n\"Z [mm]\";label;\"X\";\"Y (mm)\"\n-3,25;a;1,5;2\n6;;4;5e3\n").points, two);
    EXPECT_EQ(tableOf("//X Y Z R G B\n1.5 2 -3.25 9 9 9\n4 5e3 6 0 0 0\n").points, two);
    EXPECT_EQ(tableOf("//made by hand\nz y x\n-3.25 2 1.5\n6 5e3 4\n").points, two);
    EXPECT_EQ(readPart("a.txt", "X Y Z\n1.5 2 -3.25\n4 5e3 6\n").points, two);
    EXPECT_EQ(complaintOn("x,y,w\n1,2,3\n"), "a.csv, line 1: the heading names no column 'z'");
    EXPECT_EQ(complaintOn("x,y,z,t\n1,2,3\n"), "a.csv, line 2: 4 numbers expected, 3 found");
    EXPECT_EQ(complaintOn("x,y,z\n1,2,a\n"), "a.csv, line 2: 'a' is not a number");
    EXPECT_EQ(complaintOn("x,y,z\n"), "a.csv: holds no points");
}

TEST(PointTable, readsNormalsThatAreNamed) {
    auto const part = tableOf("Nx,Ny,Nz,x,y,z\n0,0,1,1.5,2,-3.25\n0,-1,0,4,5e3,6\n");
    EXPECT_EQ(part.points, two);
    EXPECT_EQ(part.normals, (Triples{{0, 0, 1}, {0, -1, 0}}));
    EXPECT_EQ(tableOf("x y z Normal_X normal_y normalZ\n1 2 3 0 0 1\n").normals, (Triples{{0, 0, 1}}));
    EXPECT_TRUE(tableOf("x y z nx ny\n1 2 3 0 0\n").normals.empty());
    std::istringstream stream("nx ny nz x y z\n0 0 2 1 2 3\n");
    auto const cloud = readOrientedCloud(stream, "a");
    EXPECT_EQ(cloud.points[0], Point(1.0, 2.0, 3.0));
    EXPECT_EQ(cloud.normals[0].getdZ(), 2.0);
    EXPECT_EQ(messageOf([] {
                  std::istringstream colours("x y z r g b\n1 2 3 0 0 1\n");
                  readOrientedCloud(colours, "a");
              }),
              "a, line 1: the heading names no column 'nx'");
}

TEST(PointTable, takesTheFirstThreeOfUnnamedColumns) {
    for (std::string const rest : {" 7", " 255 0 9", " 255 0 9 0.5", " 0 0 1 255 0 9", " 0 0 1 255 0 9 1"}) {
        EXPECT_EQ(tableOf("1.5 2 -3.25" + rest + "\n4 5e3 6" + rest + "\n").points, two) << rest;
    }
    EXPECT_EQ(complaintOn("1 2 3 4 5\n"),
              "a.csv, line 1: 5 numbers; name the columns in a first line such as 'x,y,z,other'");
    EXPECT_EQ(complaintOn("1 2\n"), "a.csv, line 1: 3 numbers expected, 2 found");
    EXPECT_EQ(complaintOn("1 2 3 red\n"), "a.csv, line 1: 'red' is not a number");
    std::string const counted = "a.csv: the first of 4 columns counts the lines; name the columns in a first "
                                "line such as 'number,x,y,z'";
    EXPECT_EQ(complaintOn("1 2 3 4\n2 7 8 9\n"), counted);
    EXPECT_EQ(complaintOn("0 2 3 4\n1 7 8 9\n"), counted);
    EXPECT_EQ(tableOf("number x y z\n1 2 3 4\n2 7 8 9\n").points, (Triples{{2, 3, 4}, {7, 8, 9}}));
}

TEST(PointTable, isKnownByItsFirstLineUnderOtherNames) {
    EXPECT_EQ(formatOf("a.txt", "# scan\n1 2 3\n"), PartFormat::Table);
    EXPECT_EQ(formatOf("a.dat", "x;y;z\n1;2;3\n"), PartFormat::Table);
    EXPECT_EQ(formatOf("a.xyz", "nothing\n"), PartFormat::Table);
    EXPECT_EQ(formatOf("a.txt", "v 1 2 3\n"), PartFormat::Obj);
    EXPECT_EQ(messageOf([] { formatOf("a.txt", "Dear reader,\n"); }),
              "a.txt: is no STL, PLY, OFF or OBJ file and no table of points");
}

TEST(PointTable, givesAFailureOrPointsWhateverChanges) {
    std::vector<std::string> const samples{"x,y,z,nx,ny,nz\n1,2,3,0,0,1\n4,5,6,0,1,0\n",
                                           "# a\n1.5 2 3\n4 5 6\n", "a;b;z;x;y\n1;2;3,5;4;5,25\n6;7;8;9;1\n",
                                           "1,5\t2,5\t3\n4\t5\t6,5\n"};
    std::mt19937 random(11);
    int failures = 0;
    int tables = 0;
    for (int round = 0; round < 2000; ++round) {
        std::string text = samples[random() % samples.size()];
        for (auto changes = random() % 3; changes > 0; --changes) {
            text[random() % text.size()] = "0 9-\n,;.\te#/x\x80\""[random() % 15];
        }
        text.resize(random() % 3 == 0 ? random() % (text.size() + 1) : text.size());
        try {
            PartAsRead const part = readPart("a.csv", text);
            ASSERT_FALSE(part.points.empty());
            ASSERT_TRUE(part.normals.empty() || part.normals.size() == part.points.size());
            for (auto const& point : part.points) {
                ASSERT_TRUE(std::isfinite(point[0] + point[1] + point[2]));
            }
            ++tables;
        } catch (std::exception const& failure) {
            EXPECT_TRUE(std::string(failure.what()).starts_with("a.csv")) << failure.what();
            ++failures;
        }
    }
    EXPECT_GT(failures, 300);
    EXPECT_GT(tables, 300);
}

} // namespace
} // namespace QELT::Inspection
