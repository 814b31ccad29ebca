#include "Inspection/maps/flattening.h"

#include "Inspection/import/objfile.h"
#include "tests/inspection/sampleparts.h"
#include "tests/support/capturedoutput.h"
#include "tests/support/recordinglistener.h"

#include <gtest/gtest.h>

#include <iostream>

namespace QELT::Inspection {
namespace {

using namespace Testing;
using QELT::Testing::RecordingListener;

void loadPatch(Mesh& mesh) {
    ScratchDirectory const directory;
    writeText(directory / "patch.obj", patchMesh());
    loadObj(mesh, directory / "patch.obj");
}

TEST(Flatten, reportsTheSolvesOfBothModes) {
    Mesh pinned;
    loadPatch(pinned);
    Mesh rolledOut;
    loadPatch(rolledOut);
    FlatteningReport const one = flatten(pinned, FlatteningMode::Pinned, nullptr);
    FlatteningReport const both = flatten(rolledOut, FlatteningMode::Developable, nullptr);
    EXPECT_FALSE(one.solves.boundary);
    ASSERT_TRUE(one.solves.inside && both.solves.boundary && both.solves.inside);
    for (SolveReport const& solve : {*one.solves.inside, *both.solves.boundary, *both.solves.inside}) {
        EXPECT_TRUE(solve.hasConverged);
        EXPECT_GT(solve.iterations, 1U);
        EXPECT_LE(solve.residual, 1e-20);
    }
}

TEST(Flatten, leavesTheStandardOutputAsItWas) {
    Mesh mesh;
    loadPatch(mesh);
    QELT::Testing::CapturedOutput const output;
    flatten(mesh, FlatteningMode::Pinned, nullptr);
    EXPECT_EQ(output.getText(), "");
    std::cout << "findings";
    EXPECT_EQ(output.getText(), "findings");
    std::cout.setstate(std::ios_base::failbit);
    flatten(mesh, FlatteningMode::Pinned, nullptr);
    EXPECT_TRUE(std::cout.fail()) << "a failure from before is not forgotten";
    std::cout.clear();
}

TEST(Flatten, leavesTheListenerAttached) {
    Mesh mesh;
    loadPatch(mesh);
    RecordingListener listener;
    flatten(mesh, FlatteningMode::Pinned, &listener);
    ASSERT_FALSE(listener.messages.empty());
    EXPECT_EQ(listener.messages.front(), "Promoting interior...");
    listener.messages.clear();
    flatten(mesh, FlatteningMode::Pinned, nullptr);
    EXPECT_TRUE(listener.messages.empty());
}

} // namespace
} // namespace QELT::Inspection
