#include "Inspection/parts/tubecut.h"

#include "Inspection/import/objfile.h"
#include "tests/inspection/sampleparts.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace QELT::Inspection {
namespace {

using namespace Testing;

TEST(Cut, slitsATubeAndLeavesTheCutBesideIt) {
    ScratchDirectory const directory;
    writeText(directory / "tube.obj", tubeMesh());
    auto const result = cut({directory / "tube.obj", directory / "slit.obj", {true, 2, 0}}, nullptr);
    EXPECT_EQ(result.part.faceCount, 2U * 40U * 19U);
    EXPECT_EQ(result.part.loops.size(), 1U);
    EXPECT_EQ(result.part.vertexCount, 40U * 20U + result.part.cutEntryCount);
    EXPECT_EQ(result.cutFile, cutFileOf(directory / "slit.obj"));
    EXPECT_TRUE(std::filesystem::exists(result.cutFile));
    Mesh mesh;
    loadObj(mesh, directory / "slit.obj");
    EXPECT_EQ(meshSummaryOf(mesh).loops.size(), 1U);
}

TEST(Cut, saysWhyThereIsNone) {
    ScratchDirectory const directory;
    writeText(directory / "tube.obj", tubeMesh());
    writeText(directory / "closed.obj", closedMesh);
    auto const tube = directory / "tube.obj";
    auto const closed = directory / "closed.obj";
    auto const slit = directory / "slit.obj";
    EXPECT_EQ(messageOf([&] {
                  cut({closed, slit, {false, 2, 0}}, nullptr);
              }),
              closed.string() + ": the mesh is closed; a cut leads from rim to rim; remedy: cscan crop " +
                  closed.string() + " " + (directory / "closed_face.obj").string() +
                  " --grow 0.333333,0.333333,0.333333 --crease 30");
    EXPECT_EQ(messageOf([&] {
                  cut({tube, slit, {false, 2, 2}}, nullptr);
              }),
              tube.string() +
                  ": no way for a cut from the least z with the surface's normal along z there; "
                  "remedy: cscan cut " +
                  tube.string() + " " + (directory / "tube_slit.obj").string() +
                  " --metric max --axis z --across x");
    EXPECT_EQ(messageOf([&] {
                  cut({tube, slit, {false, 3, 0}}, nullptr);
              }),
              tube.string() + ": a cut's axes are numbered 0 to 2");
    EXPECT_FALSE(std::filesystem::exists(slit));
    EXPECT_FALSE(std::filesystem::exists(cutFileOf(slit)));
}

} // namespace
} // namespace QELT::Inspection
