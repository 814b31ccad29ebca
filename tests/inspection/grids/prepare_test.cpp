#include "Inspection/grids/prepare.h"

#include "Inspection/grids/gridfile.h"
#include "Inspection/parts/partanalysis.h"
#include "tests/inspection/sampleparts.h"
#include "tests/support/capturedoutput.h"
#include "tests/support/recordinglistener.h"

#include <gtest/gtest.h>

#include <cmath>
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
    options.resolution.quadArea = 0.25;
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
    ASSERT_EQ(result.maps.size(), 1U);
    EXPECT_TRUE(result.map().isFit());
    EXPECT_EQ(result.map().mode, FlatteningMode::Pinned);
    EXPECT_EQ(result.map().flat.flippedCount, 0U);
    EXPECT_NEAR(result.grid.meanQuadArea, 0.25, quadAreaTolerance * 0.25);
    EXPECT_TRUE(result.isFit());
    EXPECT_TRUE(result.isWritten);
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
        EXPECT_EQ(!result.maps.empty(), stage != PrepareStage::Loaded);
        EXPECT_EQ(std::filesystem::exists(directory / "flat.obj"), stage == PrepareStage::Saved);
        EXPECT_EQ(std::filesystem::exists(options.grid), stage == PrepareStage::Saved);
        EXPECT_EQ(result.grid.validQuadCount > 0, stage >= PrepareStage::Resampled);
        EXPECT_EQ(result.isWritten, stage == PrepareStage::Saved);
    });
    EXPECT_EQ(stages, (std::vector<PrepareStage>{PrepareStage::Loaded, PrepareStage::Flattened,
                                                 PrepareStage::FlatSaved, PrepareStage::Resampled,
                                                 PrepareStage::Saved}));
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
    EXPECT_EQ(
        messageOf([&] { prepare(options, nullptr, observer); }),
        options.part.string() +
            ": the part is closed, it has no rim (around (0.333333, 0.333333, 0)); remedy: cscan crop " +
            options.part.string() + " " + (directory / "closed_face.obj").string() +
            " --grow 0.333333,0.333333,0.333333 --crease 30");
    EXPECT_EQ(faceCounts, std::vector<std::size_t>{4});
    EXPECT_FALSE(std::filesystem::exists(options.grid));
}

TEST(Prepare, reconstructsAndRepairsACloud) {
    ScratchDirectory const directory;
    PrepareOptions options = patchOptions(directory);
    writeText(directory / "patch.xyz", patchPoints(""));
    options.part = directory / "patch.xyz";
    options.mode.reset();
    PrepareResult const result = prepare(options, nullptr);
    EXPECT_EQ(result.maps.size(), 2U);
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
        options.resolution.quadArea = area;
        std::string const complaint = messageOf([&] { prepare(options, nullptr); });
        EXPECT_TRUE(complaint.ends_with(" is not above zero")) << complaint;
    }
    EXPECT_FALSE(std::filesystem::exists(options.grid));
}

/// The mean of the quads' areas over the one asked for.
double meanRatioOf(PrepareResult const& result) {
    return result.grid.meanQuadArea / result.spacing.quadArea;
}

/// A sheet of 40 by 40 squares that narrows to a spike, whose triangles the pinned map shrinks far more than
/// the others.
std::string spikeMesh() {
    constexpr int side = 40;
    std::string text;
    for (int j = 0; j <= side; ++j) {
        for (int i = 0; i <= side; ++i) {
            double const x = (i - side / 2) / 4.0;
            double const y = (j - side / 2) / 4.0;
            double const height = 8.0 * std::exp(-(x * x + y * y));
            text += "v " + std::to_string(x) + " " + std::to_string(y) + " " + std::to_string(height) + "\n";
        }
    }
    for (int j = 0; j < side; ++j) {
        for (int i = 0; i < side; ++i) {
            int const a = j * (side + 1) + i + 1;
            int const b = a + side + 1;
            text += faceText(a, a + 1, b + 1) + faceText(a, b + 1, b);
        }
    }
    return text;
}

TEST(Prepare, meetsTheAreaAskedForWhateverTheMapShrinks) {
    ScratchDirectory const directory;
    PrepareOptions options = patchOptions(directory);
    writeText(directory / "spike.obj", spikeMesh());
    options.part = directory / "spike.obj";
    options.isAccepted = true;
    for (double const pixel : {0.1, 0.3}) {
        options.resolution = {std::nullopt, pixel, std::nullopt};
        PrepareResult const result = prepare(options, nullptr);
        EXPECT_NEAR(meanRatioOf(result), 1.0, quadAreaTolerance) << pixel;
        EXPECT_EQ(result.surface->targetQuadArea, pixel * pixel);
        if (pixel == 0.3) {
            Grid byMeanRatio;
            byMeanRatio.construct(*result.mesh, pixel * pixel);
            EXPECT_LT(byMeanRatio.getMeanQuadArea(), 0.01 * pixel * pixel) << "else the part tests nothing";
        }
    }
}

TEST(Prepare, givesAGridOfTheWidthAskedFor) {
    ScratchDirectory const directory;
    PrepareOptions options = patchOptions(directory);
    for (std::size_t const width : {7U, 20U, 33U, 100U}) {
        options.resolution = {std::nullopt, std::nullopt, width};
        PrepareResult const result = prepare(options, nullptr);
        EXPECT_EQ(result.grid.extentU, width);
        EXPECT_NEAR(meanRatioOf(result), 1.0, 0.1);
    }
}

TEST(Prepare, takesAPixelThatSuitsThePartWithoutOne) {
    ScratchDirectory const directory;
    PrepareOptions options = patchOptions(directory);
    options.resolution = {};
    PrepareResult const result = prepare(options, nullptr);
    double const pixel = suggestedPixel(result.part.area, result.part.faceCount);
    EXPECT_EQ(result.spacing.quadArea, pixel * pixel);
    EXPECT_GT(result.sizes.quadCount, 20000U);
    EXPECT_LT(result.sizes.quadCount, 100000U);
}

TEST(Prepare, wantsOneResolutionAtMost) {
    ScratchDirectory const directory;
    PrepareOptions options = patchOptions(directory);
    options.resolution.pixel = 1.0;
    EXPECT_EQ(messageOf([&] { prepare(options, nullptr); }),
              options.part.string() + ": of quad area, pixel and width one is enough");
}

TEST(Prepare, triesBothModesAndTakesTheBetterMap) {
    ScratchDirectory const directory;
    PrepareOptions options = patchOptions(directory);
    writeText(directory / "spike.obj", spikeMesh());
    for (char const* const part : {"patch.obj", "spike.obj"}) {
        options.part = directory / part;
        options.mode.reset();
        options.isAccepted = true;
        PrepareResult const both = prepare(options, nullptr);
        ASSERT_EQ(both.maps.size(), 2U);
        EXPECT_EQ(both.chosen, bestOf(both.maps));
        for (MapCandidate const& map : both.maps) {
            options.mode = map.mode;
            PrepareResult const alone = prepare(options, nullptr);
            EXPECT_EQ(alone.map().flat.width, map.flat.width) << "each map is made of the part as loaded";
            EXPECT_EQ(haveSameSurface(*alone.surface, *both.surface), map.mode == both.map().mode);
        }
    }
}

/// More of the spike is far from the median than may be.
TEST(Prepare, writesAGridThatIsNotFitOnlyIfThatIsAccepted) {
    ScratchDirectory const directory;
    PrepareOptions options = patchOptions(directory);
    writeText(directory / "spike.obj", spikeMesh());
    options.part = directory / "spike.obj";
    options.resolution = {std::nullopt, 0.3, std::nullopt};
    PrepareResult const refused = prepare(options, nullptr);
    EXPECT_FALSE(refused.isFit());
    EXPECT_FALSE(refused.isWritten);
    EXPECT_FALSE(std::filesystem::exists(options.grid));
    ASSERT_FALSE(refused.shortcomings.empty());
    EXPECT_LT(refused.sizes.alikeShare(), alikeNeeded);
    EXPECT_TRUE(refused.shortcomings.back().what.starts_with("only ")) << refused.shortcomings.back().what;
    EXPECT_FALSE(refused.shortcomings.back().remedy.empty());
    options.isAccepted = true;
    PrepareResult const accepted = prepare(options, nullptr);
    EXPECT_FALSE(accepted.isFit());
    EXPECT_TRUE(accepted.isWritten);
    Grid grid;
    loadGrid(grid, options.grid);
    EXPECT_TRUE(haveSameSurface(grid, *accepted.surface));
    EXPECT_TRUE(haveSameSurface(grid, *refused.surface));
}

/// One triangle of the patch is flat: its weights are infinite, and there is no solve to trust.
TEST(Prepare, stopsWithTheRemedyWhereTheSolveFails) {
    ScratchDirectory const directory;
    PrepareOptions options = patchOptions(directory);
    writeText(directory / "flat.obj",
              "v 0 0 0\nv 2 0 0\nv 4 0 0\nv 0 2 0\nv 2 2 0\nv 4 2 0\nv 1 1 0\nv 3 1 0\nv 2 1 0\n"
              "f 1 2 7\nf 2 3 8\nf 4 1 7\nf 5 4 7\nf 6 5 8\nf 3 6 8\nf 7 2 9\nf 2 8 9\nf 8 5 9\nf 5 7 9\n");
    options.part = directory / "flat.obj";
    options.resolution = {std::nullopt, 0.1, std::nullopt};
    EXPECT_TRUE(prepare(options, nullptr).isWritten)
        << "the part is sound as long as its middle has an extent";
    std::filesystem::remove(options.grid);
    std::string text = readText(options.part.file);
    text.replace(text.find("v 2 1 0"), 7, "v 2 2 0");
    writeText(options.part.file, text);
    EXPECT_EQ(messageOf([&] { prepare(options, nullptr); }),
              options.part.string() +
                  ": the inside has triangles without area or edges without length: repair "
                  "the part (cscan import --repair)");
    EXPECT_FALSE(std::filesystem::exists(options.grid));
}

} // namespace
} // namespace QELT::Inspection
