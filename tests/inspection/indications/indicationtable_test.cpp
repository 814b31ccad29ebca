#include "Inspection/indications/indications.h"
#include "Inspection/indications/indicationtable.h"
#include "Inspection/records/record.h"
#include "Inspection/results/resultfile.h"
#include "Inspection/scanning/csvfile.h"
#include "tests/inspection/sampleresults.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

using namespace QELT::Inspection;
using namespace QELT::Inspection::Testing;

namespace {

Indication sampleIndication() {
    Indication one;
    one.number = 3;
    one.peak = 87.5;
    one.level = 43.75;
    one.centre = {Vector(1.5, -2.0, 3.0), Vector(0.0, 0.0, 1.0), FlatPoint(4.25, 7.0)};
    one.peakPlace = {Vector(1.0, 0.0, 0.0), Vector(0.0, 1.0, 0.0), FlatPoint(4.5, 7.5)};
    one.length = 6.0;
    one.width = 3.5;
    one.area = 16.125;
    one.depth = 2.9;
    one.doesTouchRim = true;
    return one;
}

Result flatResult() {
    Result result = resultOn(12, 10, flat(2.0));
    measure(result, [](Vector const& point) {
        return std::hypot(point.getdX() - 11.0, point.getdY() - 9.0) < 3.0 ? 80.0 : 4.0;
    });
    result.move = {100.0, 200.0, 300.0};
    return result;
}

IndicationsOptions optionsIn(ScratchDirectory const& scratch) {
    IndicationsOptions options;
    options.result = scratch / "scan.h5";
    options.search.value = "amplitude";
    options.search.threshold = {true, 0.5};
    options.search.minPeak = 20.0;
    options.table = scratch / "found.csv";
    options.poses = scratch / "poses.csv";
    options.standoff = 25.0;
    return options;
}

} // namespace

TEST(IndicationTable, HasALineForEach) {
    std::ostringstream output;
    writeIndications(output, {sampleIndication()}, {"mm", "%FSH", "mm", "deg", true});

    EXPECT_EQ("number,state,peak[%FSH],level[%FSH],x[mm],y[mm],z[mm],nx,ny,nz,u,v,peak_x[mm],peak_y[mm],"
              "peak_z[mm],peak_nx,peak_ny,peak_nz,peak_u,peak_v,length[mm],width[mm],area[mm^2],depth[mm],"
              "incidence[deg],touches,under_beam\n"
              "3,echo,87.5,43.75,1.5,-2,3,0,0,1,4.25,7,1,0,0,0,1,0,4.5,7.5,6,3.5,16.125,2.9,,rim,0\n",
              output.str());
}

TEST(IndicationTable, LeavesEmptyWhatIsNotKnown) {
    Indication one = sampleIndication();
    one.state = PixelState::NoEcho;
    one.peak.reset();
    one.depth.reset();
    one.doesTouchUnmeasured = true;
    std::ostringstream output;
    writeIndications(output, {one}, {});

    EXPECT_EQ(
        "number,state,peak,level,x,y,z,nx,ny,nz,u,v,peak_x,peak_y,peak_z,peak_nx,peak_ny,peak_nz,peak_u,"
        "peak_v,length,width,area,depth,incidence,touches,under_beam\n"
        "3,no echo,,43.75,1.5,-2,3,0,0,1,4.25,7,1,0,0,0,1,0,4.5,7.5,6,3.5,16.125,,,rim and unmeasured,\n",
        output.str());
}

TEST(IndicationTable, PosesAreBeamsBackToTheCentres) {
    std::ostringstream output;
    writePoses(output, {sampleIndication()}, 20.0);
    EXPECT_EQ("ox,oy,oz,dx,dy,dz\n1.5,-2,23,0,0,-1\n", output.str());

    std::istringstream input(output.str());
    EXPECT_EQ(1u, readBeams(input, "poses").size());
}

TEST(Indications, AreWrittenWithTheirPosesAndTheirRecord) {
    ScratchDirectory const scratch;
    writeResult(scratch / "scan.h5", flatResult());
    IndicationsOptions const options = optionsIn(scratch);

    FoundIndications const found = indications(options, nullptr);

    ASSERT_EQ(1u, found.search.indications.size());
    Vector const centre = found.search.indications[0].centre.point;
    EXPECT_NEAR(11.0 - 100.0, centre.getdX(), 0.01);
    EXPECT_NEAR(9.0 - 200.0, centre.getdY(), 0.01);
    auto const beams = readBeamFile(scratch / "poses.csv");
    ASSERT_EQ(1u, beams.size());
    EXPECT_NEAR(-275.0, beams[0].origin.getZ(), 1e-3);
    EXPECT_NEAR(-1.0, beams[0].direction.getdZ(), 1e-6);
    EXPECT_NE(std::string::npos, readText(scratch / "found.csv").find("\n1,echo,80,40,"));
    EXPECT_TRUE(findRecord(scratch / "found.csv", nullptr)->misfits.empty());
    EXPECT_NE(std::string::npos, readText(scratch / "found.csv.json").find("thresholdShare"));
}

TEST(Indications, FailuresLeaveNothingBehind) {
    ScratchDirectory const scratch;
    writeResult(scratch / "scan.h5", flatResult());
    IndicationsOptions options = optionsIn(scratch);
    options.standoff.reset();
    EXPECT_EQ("poses to go back to indications need a standoff above zero",
              messageOf([&] { indications(options, nullptr); }));
    options = optionsIn(scratch);
    options.search.value = "tof";
    EXPECT_EQ(options.result.string() + ": there is no value 'tof'; the result has amplitude:max",
              messageOf([&] { indications(options, nullptr); }));
    EXPECT_FALSE(std::filesystem::exists(options.table));
    EXPECT_FALSE(std::filesystem::exists(*options.poses));
}
