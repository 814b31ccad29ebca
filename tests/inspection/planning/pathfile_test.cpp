#include "Inspection/planning/pathfile.h"

#include "Inspection/grids/gridfile.h"
#include "Inspection/planning/planpath.h"
#include "Inspection/shots/shotreader.h"
#include "tests/inspection/planning/samplegrids.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <sstream>

namespace QELT::Inspection {
namespace {

using namespace Testing;

Path smallPath() {
    PathSettings settings;
    settings.step = 5.0;
    settings.standoff = 20.0;
    return pathOver(plane(), settings);
}

TEST(PathFile, HasALineAPose) {
    std::ostringstream output;
    writePath(output, smallPath(), 10.0);
    EXPECT_EQ("line,run,kind,ox,oy,oz,dx,dy,dz,qw,qx,qy,qz,s,t[s]\n"
              "0,0,scan,2.500000,2.500000,20.000000,0.000000000,0.000000000,-1.000000000,"
              "0.000000000,1.000000000,0.000000000,0.000000000,0.000000,0.000000\n"
              "0,0,scan,7.500000,2.500000,20.000000,0.000000000,0.000000000,-1.000000000,"
              "0.000000000,1.000000000,0.000000000,0.000000000,5.000000,0.500000\n"
              "1,1,scan,7.500000,7.500000,20.000000,0.000000000,0.000000000,-1.000000000,"
              "0.000000000,1.000000000,0.000000000,0.000000000,10.000000,1.000000\n"
              "1,1,scan,2.500000,7.500000,20.000000,0.000000000,0.000000000,-1.000000000,"
              "0.000000000,1.000000000,0.000000000,0.000000000,15.000000,1.500000\n",
              output.str());
}

TEST(PathFile, IsInThePartsOwnPlaceAndHasNoTimeWithoutASpeed) {
    std::ostringstream output;
    writePath(output, smallPath(), {}, Vector(-100.0, 0.0, 7.0));
    EXPECT_TRUE(output.str().starts_with("line,run,kind,ox,oy,oz,dx,dy,dz,qw,qx,qy,qz,s\n"
                                         "0,0,scan,102.500000,2.500000,13.000000,"));
}

TEST(PathFile, IsReadAgainWithValuesAdded) {
    std::istringstream input("line,run,kind,ox,oy,oz,dx,dy,dz,qw,qx,qy,qz,s,t[s],amplitude\n"
                             "0,0,overshoot,1,2,3,0,0,-2,0,1,0,0,0,0.25,80\n"
                             "\n"
                             "0,0,lift,1,2,3,0,0,-1,0,1,0,0,0,0.5,\n"
                             "4,5,scan,1,2,-3.5,0,1,0,0,1,0,0,0,0.75,\r\n");
    auto const shots = readPath(input, "path.csv");
    ASSERT_EQ(2U, shots.size());
    EXPECT_EQ(-1.0, shots[0].direction.getdZ());
    EXPECT_EQ(0.25, shots[0].time);
    EXPECT_EQ(4U, shots[1].line);
    EXPECT_EQ(-3.5, shots[1].position.getdZ());
}

TEST(PathFile, NamesTheLineThatIsWrong) {
    std::string const heading = "line,run,kind,ox,oy,oz,dx,dy,dz,qw,qx,qy,qz,s\n";
    auto const messageFor = [](std::string const& text) {
        std::istringstream input(text);
        return messageOf([&] { readPath(input, "p.csv"); });
    };
    EXPECT_EQ("p.csv, line 1: the heading must begin with line,run,kind,ox,oy,oz,dx,dy,dz,qw,qx,qy,qz,s",
              messageFor("ox,oy,oz,dx,dy,dz\n"));
    EXPECT_EQ("p.csv, line 2: the line has too few fields for a pose", messageFor(heading + "0,0,scan,1\n"));
    EXPECT_EQ("p.csv, line 2: 'x' is no number", messageFor(heading + "0,0,scan,x,2,3,0,0,1,0,1,0,0,0\n"));
    EXPECT_EQ("p.csv, line 2: 'hop' is no kind of pose: scan, overshoot or lift",
              messageFor(heading + "0,0,hop,1,2,3,0,0,1,0,1,0,0,0\n"));
    EXPECT_EQ("p.csv, line 2: the direction has no length",
              messageFor(heading + "0,0,scan,1,2,3,0,0,0,0,1,0,0,0\n"));
    EXPECT_EQ("p.csv, line 2: '-1' is no number of a line",
              messageFor(heading + "-1,0,scan,1,2,3,0,0,1,0,1,0,0,0\n"));
    EXPECT_EQ("p.csv: holds no path", messageFor(heading));
}

TEST(PathFile, IsATableOfShotsOnceValuesAreAdded) {
    ScratchDirectory const directory;
    std::ostringstream output;
    writePath(output, smallPath(), 10.0);
    std::string text;
    std::istringstream lines(output.str());
    for (std::string line; std::getline(lines, line);) {
        text += line + (text.empty() ? ",amplitude[%FSH]\n" : ",80\n");
    }
    writeText(directory / "shots.csv", text);
    ShotOptions options;
    options.shots = directory / "shots.csv";
    ShotReader reader(options);
    EXPECT_EQ(PoseDialect::OriginDirection, reader.getDialect());
    ShotBlock block;
    ASSERT_TRUE(reader.read(block, 100));
    ASSERT_EQ(4U, block.size());
    EXPECT_EQ(Point(7.5, 2.5, 20.0), block.beams[1].origin);
    EXPECT_EQ(-1.0, block.beams[1].direction.getdZ());
    auto const& quantities = reader.getQuantities();
    ASSERT_FALSE(quantities.empty());
    EXPECT_EQ("amplitude", quantities.back().name);
    EXPECT_EQ(80.0, block.values[quantities.size() - 1]);
}

TEST(PlanPath, WritesThePathWithItsRecord) {
    ScratchDirectory const directory;
    Grid grid = plane();
    saveGrid(grid, directory / "plane.quads");
    PlanOptions options;
    options.grid = directory / "plane.quads";
    options.path = directory / "path.csv";
    options.settings.step = 1.0;
    options.settings.standoff = 20.0;
    options.unit = "mm";
    options.requiredCoverage = 0.999;
    Plan const plan = planPath(options, nullptr);
    EXPECT_TRUE(plan.isFit());
    EXPECT_EQ("mm", plan.unit);
    EXPECT_EQ(100U, readPathFile(options.path).size());
    std::string const record = readText(directory / "path.csv.json");
    EXPECT_NE(std::string::npos, record.find("\"command\": \"path\""));
    EXPECT_NE(std::string::npos, record.find("\"lines\": 10"));
    EXPECT_NE(std::string::npos, record.find("\"footprint\": 1.5"));
}

TEST(PlanPath, IsNotFitWithoutTheCoverageRequired) {
    ScratchDirectory const directory;
    Grid grid = plane();
    saveGrid(grid, directory / "plane.quads");
    PlanOptions options;
    options.grid = directory / "plane.quads";
    options.path = directory / "path.csv";
    options.settings.step = 2.0;
    options.settings.footprint = 1.0;
    options.requiredCoverage = 0.9;
    Plan const plan = planPath(options, nullptr);
    EXPECT_FALSE(plan.isFit());
    EXPECT_FALSE(plan.isCoverageReached);
    EXPECT_TRUE(std::filesystem::exists(options.path));
}

} // namespace
} // namespace QELT::Inspection
