#include "Inspection/parts/reconstruction.h"

#include "tests/inspection/sampleparts.h"
#include "tests/support/recordinglistener.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace QELT::Inspection {
namespace {

using namespace Testing;

TEST(Reconstruct, writesTheSurfaceAndTellsWhatItHolds) {
    ScratchDirectory const directory;
    writeText(directory / "patch.xyz", patchPoints(""));
    QELT::Testing::RecordingListener listener;
    auto const result = reconstruct({directory / "patch.xyz", directory / "patch.obj", {}}, &listener);
    EXPECT_EQ(result.part.vertexCount, 143U);
    EXPECT_GT(result.part.faceCount, 200U);
    EXPECT_EQ(result.repair.looseCount, 0U);
    EXPECT_EQ(listener.messages.front(), "Reconstructing...");
    EXPECT_TRUE(std::filesystem::exists(directory / "patch.obj"));
}

TEST(Reconstruct, refusesAPlaceBesideAnotherCut) {
    ScratchDirectory const directory;
    writeText(directory / "patch.xyz", patchPoints(""));
    writeText(directory / "patch.obj\\patch_cut_indices.txt", "1, 2\n");
    std::string const complaint = messageOf([&] {
        reconstruct({directory / "patch.xyz", directory / "patch.obj", {}}, nullptr);
    });
    EXPECT_NE(complaint.find("the cut of another mesh lies beside it"), std::string::npos) << complaint;
    EXPECT_FALSE(std::filesystem::exists(directory / "patch.obj"));
}

} // namespace
} // namespace QELT::Inspection
