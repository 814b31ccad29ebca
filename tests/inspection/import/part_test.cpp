#include "Inspection/import/part.h"

#include "Inspection/parts/meshsummary.h"
#include "tests/inspection/import/partsamples.h"
#include "tests/inspection/sampleparts.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace QELT::Inspection {
namespace {

using namespace Testing;

PartAsLoaded partOf(std::string const& name, std::string const& content, LoadOptions const& options = {}) {
    return makePart(readPart(name, content), name, options);
}

std::string const wedge = "OFF\n4 2 0\n0 0 0\n4 0 0\n4 3 0\n0 3 2\n3 0 1 2\n3 0 2 3\n";

/// Six times the volume between the triangles and the origin, with the sign of their winding.
double sixVolumes(PartAsLoaded const& part) {
    double sum = 0.0;
    for (auto const& t : part.triangles) {
        SpacePoint const& a = part.points[t[0]];
        SpacePoint const& b = part.points[t[1]];
        SpacePoint const& c = part.points[t[2]];
        sum += a[0] * (b[1] * c[2] - b[2] * c[1]) - a[1] * (b[0] * c[2] - b[2] * c[0]) +
               a[2] * (b[0] * c[1] - b[1] * c[0]);
    }
    return sum;
}

TEST(Part, comesOutTheSameOfEachFormat) {
    for (Sample const& sample : cubeSamples()) {
        PartAsLoaded const part = partOf(sample.name, sample.content);
        EXPECT_EQ(part.points.size(), 8U) << sample.name;
        EXPECT_EQ(part.triangles.size(), 12U) << sample.name;
        EXPECT_EQ(sixVolumes(part), 6.0) << sample.name;
        EXPECT_FALSE(part.report.isAsInFile) << sample.name;
    }
}

TEST(Part, leavesAnObjFileThatTheCoreReadsAsItIs) {
    ScratchDirectory const directory;
    std::string const text = patchMesh() + "v 100 100 100\nf 1 1 2\n";
    writeText(directory / "patch.obj", text);
    PartAsLoaded const part = loadPart(directory / "patch.obj");
    EXPECT_TRUE(part.report.isAsInFile);
    EXPECT_EQ(part.report.unusedCount, 1U);
    EXPECT_EQ(part.points.size(), 144U);
    EXPECT_EQ(part.triangles.size(), 241U);
    LoadOptions scaled;
    scaled.scale = 2.0;
    EXPECT_FALSE(loadPart(directory / "patch.obj", scaled).report.isAsInFile);
    writeText(directory / "patch.dat", text);
    PartAsLoaded const made = loadPart(directory / "patch.dat");
    EXPECT_FALSE(made.report.isAsInFile);
    EXPECT_EQ(made.report.degenerateCount, 1U);
    EXPECT_EQ(made.points.size(), 143U);
}

TEST(Part, keepsFlatCoordinatesAndTheCutOfSuchAFile) {
    ScratchDirectory const directory;
    writeText(directory / "flat.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nvt 4 0\nvt 0 2\nf 1 2 3\n");
    writeText(cutFileOf(directory / "flat.obj"), "1, 2\n");
    Mesh mesh;
    EXPECT_TRUE(fillMesh(mesh, loadPart(directory / "flat.obj"), directory / "flat.obj").hasFlatCoordinates);
    EXPECT_EQ(mesh.getCutEdgeIndices().first.size(), 2U);
    writeText(directory / "flat.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nf 1/1 2/1 3/1\n");
    EXPECT_EQ(messageOf([&] { fillMesh(mesh, loadPart(directory / "flat.obj"), directory / "flat.obj"); }),
              messageOf([&] { requireNoCutBeside(directory / "flat.obj"); }));
}

TEST(Part, fillsAMeshWithWhatOtherFilesHold) {
    ScratchDirectory const directory;
    writeText(directory / "a.v2.ply", plyBinary(std::endian::big));
    Mesh mesh;
    EXPECT_FALSE(fillMesh(mesh, loadPart(directory / "a.v2.ply"), directory / "a.v2.ply").hasFlatCoordinates);
    EXPECT_EQ(mesh.getNumberOfVertices(), 8U);
    EXPECT_EQ(trianglesOf(mesh).size(), 12U);
    EXPECT_EQ(mesh.getFileName(), "a.v2");
    writeText(directory / "c.xyz", "1 2 3\n");
    EXPECT_EQ(messageOf([&] { fillMesh(mesh, loadPart(directory / "c.xyz"), directory / "c.xyz"); }),
              (directory / "c.xyz").string() +
                  ": holds points and no polygons; `cscan reconstruct` makes a mesh of them");
}

TEST(Part, tellsAnObjFileThatWasCutOff) {
    ScratchDirectory const directory;
    std::string const whole = patchMesh();
    writeText(directory / "patch.obj", whole.substr(0, whole.find("f 80 ")));
    std::string const message = messageOf([&] { loadPart(directory / "patch.obj"); });
    EXPECT_NE(message.find(" of 143 points belong to no polygon, as where a file was cut off"),
              std::string::npos)
        << message;
    writeText(directory / "patch.obj", whole.substr(0, whole.size() - 3));
    EXPECT_NE(messageOf([&] { loadPart(directory / "patch.obj"); }).find("the file ends within this line"),
              std::string::npos);
}

TEST(Part, knowsACloudByItsContent) {
    ScratchDirectory const directory;
    writeText(directory / "a.dat", "1 2 3\n");
    writeText(directory / "b.obj", "v 1 2 3\n");
    writeText(directory / "c.xyz", offText());
    writeText(directory / "d.xyz", "1 2\n");
    EXPECT_TRUE(isCloudPart(directory / "a.dat"));
    EXPECT_TRUE(isCloudPart(directory / "b.obj"));
    EXPECT_FALSE(isCloudPart(directory / "c.xyz"));
    EXPECT_TRUE(isCloudPart(directory / "d.xyz"));
    EXPECT_TRUE(isCloudPart(directory / "none.xyz"));
    EXPECT_FALSE(isCloudPart(directory / "none.obj"));
}

TEST(Part, isRotatedAndMirroredWithoutTurningInsideOut) {
    PartAsLoaded const cube = partOf("cube.off", offText());
    for (char const* text : {"x,-z,y", "-x,y,z", "z,y,x", "y,z,x", "-x,-y,-z"}) {
        LoadOptions options;
        options.axes = *parseAxisMap(text);
        options.scale = 2.0;
        PartAsLoaded const part = partOf("cube.off", offText(), options);
        EXPECT_EQ(sixVolumes(part), 48.0) << text;
        EXPECT_EQ(part.report.isMirrored, isMirror(options.axes)) << text;
        for (std::size_t i = 0; i < 8; ++i) {
            SpacePoint expected = mapped(options.axes, cube.points[i]);
            std::transform(expected.begin(), expected.end(), expected.begin(),
                           [](double c) { return 2.0 * c; });
            EXPECT_EQ(part.points[i], expected) << text;
        }
    }
}

TEST(Part, turnsNormalsOfACloudWithItsAxes) {
    LoadOptions options;
    options.axes = *parseAxisMap("x,-z,y");
    auto const part = partOf("a.csv", "x,y,z,nx,ny,nz\n1,2,3,0,0,1\n", options);
    EXPECT_EQ(part.points[0], (SpacePoint{1, -3, 2}));
    EXPECT_EQ(part.normals[0], (SpacePoint{0, -1, 0}));
}

TEST(Part, keepsTheNormalsOfThePointsThatWeldingKeeps) {
    LoadOptions options;
    options.weldTolerance = 0.5;
    auto const part = partOf("a.csv", "x,y,z,nx,ny,nz\n0,0,0,1,0,0\n0.1,0,0,2,0,0\n5,0,0,3,0,0\n", options);
    EXPECT_EQ(part.points.size(), 2U);
    EXPECT_EQ(part.normals, (std::vector<SpacePoint>{{1, 0, 0}, {3, 0, 0}}));
}

TEST(Part, isMovedFromFarOutAlongTheAxesThatNeedItAndBackByTheOffset) {
    std::string const far = "OFF\n3 1 0\n5e5 0.125 -2e6\n500003.0625 0.5 -2e6\n5e5 4 -2e6\n3 0 1 2\n";
    LoadOptions options;
    PartAsLoaded const left = partOf("a.off", far, options);
    EXPECT_TRUE(left.report.liesFarOut());
    EXPECT_FALSE(left.report.isMoved());
    options.movesFarParts = true;
    PartAsLoaded const part = partOf("a.off", far, options);
    EXPECT_EQ(part.report.offset, (SpacePoint{500002.0, 0.0, -2e6}));
    EXPECT_EQ(part.report.reach, 2e6);
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            EXPECT_EQ(part.points[i][axis] + part.report.offset[axis], left.points[i][axis]);
            EXPECT_EQ(static_cast<double>(static_cast<float>(part.points[i][axis])), part.points[i][axis]);
        }
    }
    EXPECT_FALSE(partOf("a.off", wedge, options).report.isMoved());
}

TEST(Part, givesPointsOfAnyFileAndNormalsWhereThereAreSome) {
    ScratchDirectory const directory;
    writeText(directory / "cube.stl", stlBinary());
    EXPECT_EQ(loadPoints(directory / "cube.stl").size(), 8U);
    EXPECT_EQ(messageOf([&] { loadOrientedPoints(directory / "cube.stl"); }),
              (directory / "cube.stl").string() + ": holds no points with normals; name them nx, ny and nz");
    writeText(directory / "a.ply",
              "ply\nformat ascii 1.0\nelement vertex 2\nproperty float x\nproperty float y\n"
              "property float z\nproperty float nx\nproperty float ny\nproperty float nz\n"
              "end_header\n1 2 3 0 0 1\n4 5 6 0 0 0\n");
    EXPECT_EQ(messageOf([&] { loadOrientedPoints(directory / "a.ply"); }),
              (directory / "a.ply").string() + ": the normal of point 2 has no usable length");
    writeText(directory / "a.dat", "1 2 3 0 0 1\n");
    EXPECT_EQ(loadOrientedPoints(directory / "a.dat").normals[0].getdZ(), 1.0);
}

} // namespace
} // namespace QELT::Inspection
