#include "Inspection/maps/flattening.h"

#include "Inspection/import/objfile.h"
#include "tests/inspection/sampleparts.h"
#include "tests/support/capturedoutput.h"
#include "tests/support/recordinglistener.h"

#include <gtest/gtest.h>

namespace QELT::Inspection {
namespace {

using namespace Testing;
using QELT::Testing::RecordingListener;

void loadPatch(Mesh& mesh) {
    ScratchDirectory const directory;
    writeText(directory / "patch.obj", patchMesh());
    loadObj(mesh, directory / "patch.obj");
}

TEST(Flatten, reportsOneSolveOrTwoAndPrintsNothing) {
    Mesh pinned;
    loadPatch(pinned);
    Mesh rolledOut;
    loadPatch(rolledOut);
    QELT::Testing::CapturedOutput const output;
    FlatteningReport const one = flatten(pinned, FlatteningMode::Pinned, nullptr);
    FlatteningReport const two = flatten(rolledOut, FlatteningMode::Developable, nullptr);
    EXPECT_EQ(output.getText(), "");
    ASSERT_EQ(one.solves.size(), 1U);
    ASSERT_EQ(two.solves.size(), 2U);
    for (SolveRecord const& solve : {one.solves[0], two.solves[0], two.solves[1]}) {
        EXPECT_TRUE(solve.isConverged);
        EXPECT_GT(solve.iterations, 1U);
        EXPECT_LE(solve.residual, 1e-20);
    }
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
