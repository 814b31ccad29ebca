#include "Inspection/maps/flattening.h"

#include "Inspection/import/objfile.h"
#include "tests/inspection/sampleparts.h"
#include "tests/support/capturedoutput.h"
#include "tests/support/recordinglistener.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string_view>
#include <thread>
#include <vector>

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

/// Takes its time when a solve begins, so that the first iteration comes late enough to be told.
class SlowSolveListener : public SolveListener {
public:
    std::vector<SolveRecord> solves;

    void setMessage(char const* text) override {
        if (std::string_view(text) == "Solving linear system...") {
            std::this_thread::sleep_for(std::chrono::milliseconds(150));
        }
    }

    void setPercentage(unsigned long) override {}

    void reserved3() override {}

    void reserved4() override {}

    void setSolve(SolveRecord const& solve, unsigned long percent) override {
        EXPECT_LE(percent, 100U);
        solves.push_back(solve);
    }
};

TEST(Flatten, tellsAListenerOfSolvesHowTheyComeAlong) {
    Mesh mesh;
    loadPatch(mesh);
    SlowSolveListener listener;
    flatten(mesh, FlatteningMode::Pinned, &listener);
    ASSERT_FALSE(listener.solves.empty());
    EXPECT_EQ(listener.solves.front().iterations, 1U);
    EXPECT_GT(listener.solves.front().residual, 1e-20);
    EXPECT_FALSE(listener.solves.front().isConverged);
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
