#include "Inspection/grids/prepare.h"

#include "Inspection/grids/gridfile.h"
#include "tests/inspection/sampleparts.h"
#include "tests/support/capturedoutput.h"
#include "tests/support/recordinglistener.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <limits>
#include <string>
#include <vector>

namespace QELT::Inspection {
namespace {

using namespace Testing;
using QELT::Testing::CapturedOutput;
using QELT::Testing::RecordingListener;

PrepareOptions patchOptions(ScratchDirectory const& directory) {
    writeText(directory / "patch.obj", patchMesh());
    PrepareOptions options;
    options.part = directory / "patch.obj";
    options.grid = directory / "patch.quads";
    options.quadArea = 0.25;
    options.mode = FlatteningMode::Pinned;
    return options;
}

TEST(Prepare, givesWhatItFoundAndLeavesTheGrid) {
    ScratchDirectory const directory;
    PrepareOptions const options = patchOptions(directory);
    PrepareResult const result = prepare(options, nullptr);
    EXPECT_EQ(result.part.vertexCount, 143U);
    EXPECT_EQ(result.part.faceCount, 240U);
    ASSERT_EQ(result.part.loops.size(), 1U);
    EXPECT_EQ(result.part.loops[0].vertices.size(), 44U);
    EXPECT_FALSE(result.repair.has_value());
    ASSERT_TRUE(result.flattening.solves.inside);
    EXPECT_TRUE(result.flattening.solves.inside->hasConverged);
    EXPECT_TRUE(result.flattening.isTrustworthy());
    EXPECT_EQ(result.flat.flippedCount, 0U);
    EXPECT_NEAR(result.grid.meanQuadArea, 0.25, 0.05);
    Grid grid;
    loadGrid(grid, options.grid);
    EXPECT_EQ(gridSummaryOf(grid).validQuadCount, result.grid.validQuadCount);
    EXPECT_FALSE(std::filesystem::exists(directory / "flat.obj"));
}

TEST(Prepare, printsNothingAndStaysWhereItIs) {
    ScratchDirectory const directory;
    PrepareOptions const options = patchOptions(directory);
    auto const before = std::filesystem::current_path();
    CapturedOutput const output;
    RecordingListener listener;
    prepare(options, &listener);
    EXPECT_EQ(output.getText(), "");
    EXPECT_EQ(std::filesystem::current_path(), before);
    EXPECT_EQ(listener.messages.front(), "Initialising file load: patch.obj.");
    EXPECT_EQ(listener.messages.back(), "Writing quad points...");
    EXPECT_FALSE(listener.percentages.empty());
}

TEST(Prepare, tellsItsObserverOfEachStageWhenItIsDone) {
    ScratchDirectory const directory;
    PrepareOptions options = patchOptions(directory);
    options.flat = directory / "flat.obj";
    std::vector<PrepareStage> stages;
    prepare(options, nullptr, [&](PrepareStage stage, PrepareResult const& result) {
        stages.push_back(stage);
        EXPECT_EQ(result.part.faceCount, 240U);
        EXPECT_EQ(result.flat.width > 0.0, stage != PrepareStage::Loaded);
        EXPECT_EQ(std::filesystem::exists(directory / "flat.obj"), stage >= PrepareStage::FlatSaved);
        EXPECT_EQ(std::filesystem::exists(options.grid), stage == PrepareStage::Saved);
        EXPECT_EQ(result.grid.validQuadCount > 0, stage == PrepareStage::Saved);
    });
    EXPECT_EQ(stages, (std::vector<PrepareStage>{PrepareStage::Loaded, PrepareStage::Flattened,
                                                 PrepareStage::FlatSaved, PrepareStage::Saved}));
}

TEST(Prepare, hasToldWhatItFoundBeforeItFails) {
    ScratchDirectory const directory;
    PrepareOptions options = patchOptions(directory);
    writeText(directory / "closed.obj", closedMesh);
    options.part = directory / "closed.obj";
    std::vector<std::size_t> faceCounts;
    auto const observer = [&](PrepareStage, PrepareResult const& result) {
        faceCounts.push_back(result.part.faceCount);
    };
    EXPECT_EQ(messageOf([&] { prepare(options, nullptr, observer); }),
              options.part.string() + ": the mesh is closed; it needs a rim to be flattened");
    EXPECT_EQ(faceCounts, std::vector<std::size_t>{4});
    EXPECT_FALSE(std::filesystem::exists(options.grid));
}

TEST(Prepare, reconstructsAndRepairsACloud) {
    ScratchDirectory const directory;
    PrepareOptions options = patchOptions(directory);
    writeText(directory / "patch.xyz", patchPoints(""));
    options.part = directory / "patch.xyz";
    options.mode = usualModeFor(options.part);
    PrepareResult const result = prepare(options, nullptr);
    EXPECT_EQ(options.mode, FlatteningMode::Pinned);
    EXPECT_EQ(usualModeFor("part.obj"), FlatteningMode::Developable);
    ASSERT_TRUE(result.repair.has_value());
    EXPECT_EQ(result.repair->handleCount, 0U);
    EXPECT_EQ(result.part.vertexCount, 143U);
    EXPECT_EQ(readGridFileHeader(options.grid).name, "patch");
}

TEST(Prepare, refusesFilesThatHaveNoPlaceBeforeTheWork) {
    ScratchDirectory const directory;
    PrepareOptions options = patchOptions(directory);
    options.grid = directory / "none" / "patch.quads";
    RecordingListener listener;
    EXPECT_EQ(messageOf([&] { prepare(options, &listener); }),
              options.grid.string() + ": cannot be written (No such file or directory)");
    EXPECT_TRUE(listener.events.empty());
}

TEST(Prepare, refusesAQuadAreaThatIsNotAboveZero) {
    ScratchDirectory const directory;
    PrepareOptions options = patchOptions(directory);
    for (double const area : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()}) {
        options.quadArea = area;
        std::string const complaint = messageOf([&] { prepare(options, nullptr); });
        EXPECT_TRUE(complaint.ends_with(" is not above zero")) << complaint;
    }
    EXPECT_FALSE(std::filesystem::exists(options.grid));
}

} // namespace
} // namespace QELT::Inspection
