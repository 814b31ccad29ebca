#include "Inspection/scanning/csvfile.h"

#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <string>

namespace QELT::Inspection {
namespace {

using Testing::messageOf;

std::vector<Beam> beamsIn(std::string const& text) {
    std::istringstream input(text);
    return readBeams(input, "beams.csv");
}

std::string complaintOn(std::string const& text) {
    return messageOf([&] { beamsIn(text); });
}

std::string hitsText(std::vector<Hit> const& hits) {
    std::ostringstream output;
    writeHits(output, hits);
    return output.str();
}

TEST(ReadBeams, readsOriginAndDirectionInTheLinesOrder) {
    auto const beams = beamsIn("ox,oy,oz,dx,dy,dz\n1,2,3,0,0,-1\n-4.5, 5e1,6 ,0.25,-0.5,2\n");
    ASSERT_EQ(beams.size(), 2U);
    EXPECT_EQ(beams[0].origin, Point(1.0, 2.0, 3.0));
    EXPECT_EQ(beams[0].direction.getdZ(), -1.0);
    EXPECT_EQ(beams[1].origin, Point(-4.5, 50.0, 6.0));
    EXPECT_EQ(beams[1].direction.getdX(), 0.25);
    EXPECT_EQ(beams[1].direction.getdY(), -0.5);
    EXPECT_EQ(beams[1].direction.getdZ(), 2.0);
}

TEST(ReadBeams, takesWindowsLineEndsByteOrderMarkBlankLinesAndNoLastLineEnd) {
    auto const beams = beamsIn("\xEF\xBB\xBFox, oy, oz, dx, dy, dz\r\n\r\n1,2,3,0,0,1\r\n\n4,5,6,0,1,0");
    ASSERT_EQ(beams.size(), 2U);
    EXPECT_EQ(beams[1].origin, Point(4.0, 5.0, 6.0));
}

TEST(ReadBeams, namesTheLineOfAMissingOrSurplusField) {
    EXPECT_EQ(complaintOn("ox,oy,oz,dx,dy,dz\n1,2,3,0,0,1\n1,2,3,0,0\n"),
              "beams.csv, line 3: 6 numbers expected, 5 fields found");
    EXPECT_EQ(complaintOn("ox,oy,oz,dx,dy,dz\n1,2,3,0,0,1,\n"),
              "beams.csv, line 2: 6 numbers expected, 7 fields found");
}

TEST(ReadBeams, namesTheLineAndTheColumnOfABadNumber) {
    EXPECT_EQ(complaintOn("ox,oy,oz,dx,dy,dz\n\n1,2,three,0,0,1\n"),
              "beams.csv, line 3: 'three' is no number for oz");
    EXPECT_EQ(complaintOn("ox,oy,oz,dx,dy,dz\n1,2,3,0,0,\n"), "beams.csv, line 2: '' is no number for dz");
    EXPECT_EQ(complaintOn("ox,oy,oz,dx,dy,dz\n1,2,3,nan,0,1\n"),
              "beams.csv, line 2: 'nan' is no number for dx");
}

TEST(ReadBeams, refusesADirectionWithoutLengthAndAnOriginPastTheFloats) {
    EXPECT_EQ(complaintOn("ox,oy,oz,dx,dy,dz\n1,2,3,0,0,0\n"),
              "beams.csv, line 2: the direction has no length");
    EXPECT_EQ(complaintOn("ox,oy,oz,dx,dy,dz\n1,2e60,3,0,0,1\n"),
              "beams.csv, line 2: the origin lies too far out");
}

TEST(ReadBeams, refusesAnotherHeading) {
    EXPECT_EQ(complaintOn("1,2,3,0,0,1\n"), "beams.csv, line 1: the heading must be ox,oy,oz,dx,dy,dz");
    EXPECT_EQ(complaintOn("ox,oy,oz,dx,dy\n"), "beams.csv, line 1: the heading must be ox,oy,oz,dx,dy,dz");
}

TEST(ReadBeams, refusesATableWithoutABeam) {
    EXPECT_EQ(complaintOn(""), "beams.csv: holds no beams");
    EXPECT_EQ(complaintOn("ox,oy,oz,dx,dy,dz\n\n"), "beams.csv: holds no beams");
}

TEST(ReadBeamFile, namesAFileThatIsNotThere) {
    Testing::ScratchDirectory const directory;
    auto const path = directory / "none.csv";
    EXPECT_EQ(messageOf([&] { readBeamFile(path); }),
              path.string() + ": cannot be read (No such file or directory)");
}

TEST(WriteHits, leavesEmptyWhatAMissAndAnUnmeasuredHitDoNotHave) {
    Hit miss;
    Hit far;
    far.state = Hit::Inside;
    far.quad = GridIndex(3, 4);
    far.point = Point(1.5, -2.0, 20000.0);
    EXPECT_EQ(hitsText({miss, far}),
              "u,v,x,y,z,distance,angle,valid,state\n,,,,,,,0,miss\n3,4,1.5,-2,20000,,,1,hit\n");
}

TEST(WriteHits, writesNumbersThatReadBackTheSame) {
    Hit hit;
    hit.state = Hit::OnEdge;
    hit.isMeasured = true;
    hit.quad = GridIndex(-1, 70000);
    hit.point = Point(0.1, 1.0 / 3.0, 123456.789);
    hit.distance = 1.0 / 3.0;
    hit.angleToNormal = std::nextafter(3.141592653589793, 0.0);
    std::istringstream lines(hitsText({hit}));
    std::string line;
    std::getline(lines, line);
    std::vector<std::string> fields;
    for (std::string field; std::getline(lines, field, ',');) {
        fields.push_back(field);
    }
    ASSERT_EQ(fields.size(), 9U);
    EXPECT_EQ(fields[0], "-1");
    EXPECT_EQ(fields[1], "70000");
    EXPECT_EQ(std::stof(fields[2]), hit.point.getX());
    EXPECT_EQ(std::stof(fields[3]), hit.point.getY());
    EXPECT_EQ(std::stof(fields[4]), hit.point.getZ());
    EXPECT_EQ(std::stod(fields[5]), hit.distance);
    EXPECT_EQ(std::stod(fields[6]), hit.angleToNormal);
    EXPECT_EQ(fields[7], "1");
    EXPECT_EQ(fields[8], "edge\n");
}

TEST(WriteHitFile, reportsAFileThatCannotBeWritten) {
    Testing::ScratchDirectory const directory;
    auto const path = directory / "no such directory" / "hits.csv";
    EXPECT_EQ(messageOf([&] { writeHitFile(path, {}); }), path.string() + ": cannot be written");
}

/// A place of which single precision keeps no more than steps of a sixteenth.
TEST(CsvFile, movesBeamsAndHitsInDoublePrecision) {
    Vector const move(-1e6, 0.0, 2e6);
    std::istringstream input("ox,oy,oz,dx,dy,dz\n1000000.001,2,-1999999.998,0,0,-1\n");
    auto const beams = readBeams(input, "beams.csv", move);
    ASSERT_EQ(beams.size(), 1U);
    EXPECT_NEAR(beams[0].origin.getX(), 0.001, 1e-9);
    EXPECT_EQ(beams[0].origin.getY(), 2.0F);
    EXPECT_NEAR(beams[0].origin.getZ(), 0.002, 1e-9);
    Hit hit;
    hit.state = Hit::Inside;
    hit.quad = GridIndex(3, 4);
    hit.point = Point(0.25, 2.5, 0.125);
    std::ostringstream output;
    writeHits(output, {hit}, nullptr, move);
    EXPECT_NE(output.str().find("\n3,4,1000000.25,2.5,-1999999.875,,,1,hit\n"), std::string::npos)
        << output.str();
}

} // namespace
} // namespace QELT::Inspection
