#include "Inspection/pictures/pathpicture.h"

#include "Inspection/grids/gridfile.h"
#include "Inspection/pictures/internal/pathmarks.h"
#include "Inspection/pictures/internal/statecolours.h"
#include "Inspection/records/failure.h"
#include "tests/inspection/planning/samplegrids.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace QELT::Inspection {
namespace {

using namespace Testing;

/// A path over the plane from (0, 0) to (10, 10) in quads of 1/2, and its picture.
class PicturedPath {
public:
    explicit PicturedPath(PathSettings const& newSettings, bool hasHole = false) : settings(newSettings) {
        Grid grid = plane();
        if (hasHole) {
            // The quads from (8, 8) to (12, 12).
            for (int v = 9; v < 12; ++v) {
                for (int u = 9; u < 12; ++u) {
                    grid.setPointFlags({u, v}, 0);
                }
            }
        }
        plan.path = pathOver(grid, settings);
        plan.check = checkPath(grid, plan.path, settings);
        plan.unit = plan.check.pixels.unit = "mm";
        image = pathPictureOf(plan, settings);
        findMap();
    }

    /// At a place in quads.
    Colour at(double u, double v) const {
        return image.getPixel(left + static_cast<int>(u * side), bottom - static_cast<int>(v * side));
    }

    /// Of this colour on the map.
    std::size_t dotsOf(Colour colour) const {
        std::size_t count = 0;
        for (int y = bottom - 20 * side; y < bottom; ++y) {
            for (int x = left; x < left + 20 * side; ++x) {
                count += image.getPixel(x, y) == colour ? 1U : 0U;
            }
        }
        return count;
    }

    PathSettings settings;
    Plan plan;
    Image image{1, 1};

private:
    static constexpr int side = 45;
    int left = 0;
    int bottom = 0;

    /// Its lower left corner by that of the surface, which is covered or left.
    void findMap() {
        auto const isSurface = [&](int x, int y) {
            Colour const colour = image.getPixel(x, y);
            return colour == coveredColour || colour == leftColour;
        };
        int top = image.getHeight();
        left = image.getWidth();
        for (int y = 0; y < 1200 && y < image.getHeight(); ++y) {
            for (int x = 0; x < image.getWidth(); ++x) {
                if (isSurface(x, y)) {
                    top = std::min(top, y);
                    left = std::min(left, x);
                }
            }
        }
        // The legend holds the colours, too, further to the left and below.
        while (left < image.getWidth() && !isSurface(left, top)) {
            ++left;
        }
        bottom = top + 20 * side - 1;
    }
};

PathSettings stepsOf(double step) {
    PathSettings settings;
    settings.step = step;
    settings.standoff = 20.0;
    return settings;
}

} // namespace

TEST(PathPicture, ShowsLinesTurnsStartAndEndWhereTheyAre) {
    PicturedPath const drawn(stepsOf(1.0)); // lines at v = 1, 3, ... 19 in quads, shots at u = 1, 3, ... 19
    EXPECT_EQ(coveredColour, drawn.at(2.0, 2.0));
    EXPECT_EQ(coveredColour, drawn.at(0.1, 0.1));
    for (double const v : {5.0, 11.0, 17.0}) {
        EXPECT_EQ(lineColour, drawn.at(2.0, v));
        EXPECT_EQ(lineColour, drawn.at(17.0, v));
        EXPECT_EQ(coveredColour, drawn.at(0.5, v)) << "before the margin";
        EXPECT_EQ(coveredColour, drawn.at(2.0, v + 1.0));
    }
    EXPECT_EQ(turnColour, drawn.at(19.0, 2.0)) << "from the first line to the second";
    EXPECT_EQ(turnColour, drawn.at(1.0, 4.0));
    EXPECT_EQ(coveredColour, drawn.at(1.0, 2.0));
    EXPECT_EQ(startColour, drawn.at(1.0, 1.0));
    EXPECT_EQ(endColour, drawn.at(1.0, 19.0));
    for (Colour const& colour :
         {leftColour, linkColour, liftedColour, overshootColour, gapColour, angleColour, sharpColour}) {
        EXPECT_EQ(0U, drawn.dotsOf(colour));
    }
}

TEST(PathPicture, ShowsLinesAlongTheOtherAxis) {
    PathSettings settings = stepsOf(1.0);
    settings.along = PathAxis::AlongV;
    PicturedPath const drawn(settings);
    EXPECT_EQ(lineColour, drawn.at(5.0, 2.0));
    EXPECT_EQ(coveredColour, drawn.at(4.0, 3.0));
    EXPECT_EQ(turnColour, drawn.at(2.0, 19.0));
    EXPECT_EQ(startColour, drawn.at(1.0, 1.0));
    EXPECT_EQ(endColour, drawn.at(19.0, 1.0));
}

TEST(PathPicture, TellsWaysOverAHoleFromLiftedOnes) {
    PathSettings settings = stepsOf(1.0);
    PicturedPath const drawn(settings, true);
    EXPECT_EQ(linkColour, drawn.at(10.0, 9.0));
    EXPECT_EQ(linkColour, drawn.at(9.0, 11.0));
    EXPECT_EQ(stateColour(PixelState::NoSurface), drawn.at(10.0, 10.0));
    EXPECT_EQ(lineColour, drawn.at(4.0, 9.0));
    EXPECT_EQ(0U, drawn.dotsOf(liftedColour));

    settings.lift = 5.0;
    PicturedPath const lifted(settings, true);
    EXPECT_EQ(0U, lifted.dotsOf(linkColour));
    std::size_t dashes = 0;
    for (double u = 8.0; u < 12.0; u += 0.02) {
        EXPECT_TRUE(lifted.at(u, 9.0) == liftedColour ||
                    lifted.at(u, 9.0) == stateColour(PixelState::NoSurface))
            << u;
        dashes += lifted.at(u, 9.0) == liftedColour ? 1U : 0U;
    }
    EXPECT_GT(dashes, 80U) << "of 200";
    EXPECT_LT(dashes, 180U);
}

TEST(PathPicture, ShowsWhatIsLeftAndTheLongestGap) {
    PathSettings settings = stepsOf(2.0); // shots 4 quads apart, from 2 on
    settings.footprint = 1.0;
    PicturedPath const drawn(settings);
    ASSERT_GT(drawn.plan.check.coverage.longestGap, 0.0);
    EXPECT_EQ(leftColour, drawn.at(4.2, 4.2));
    EXPECT_EQ(coveredColour, drawn.at(6.3, 2.3));
    // A ring of 4.5 to 7 dots around the middle of its pixel.
    Coverage const& coverage = drawn.plan.check.coverage;
    double const u = static_cast<double>(coverage.gapU) + 0.5;
    double const v = static_cast<double>(coverage.gapV) + 0.5;
    EXPECT_EQ(gapColour, drawn.at(u + 6.0 / 45.0, v));
    EXPECT_NE(gapColour, drawn.at(u, v));
}

TEST(PathPicture, HasRoomForWhatGoesPastTheGrid) {
    PathSettings settings = stepsOf(1.0);
    settings.overshoot = 2.0; // four quads
    PicturedPath const drawn(settings);
    EXPECT_EQ(overshootColour, drawn.at(-2.0, 5.0));
    EXPECT_EQ(overshootColour, drawn.at(22.0, 5.0));
    EXPECT_EQ(white, drawn.at(-2.0, 6.0)) << "beside the grid";
    EXPECT_EQ(turnColour, drawn.at(-4.0, 8.0));
    EXPECT_EQ(coveredColour, drawn.at(2.0, 6.0));
}

TEST(PathPicture, MarksShotsThatAreBlockedOrMiss) {
    PathSettings settings = stepsOf(1.0);
    Grid const grid = plane();
    Plan plan;
    plan.path = pathOver(grid, settings);
    plan.path.poses[7].position += Vector(0.0, -3.0, 0.0);
    plan.path.poses[44].position += Vector(0.0, 0.0, 5.0); // something is not as far away as it should be
    plan.check = checkPath(grid, plan.path, settings);
    EXPECT_EQ(PoseFate::Missed, plan.check.fates[7]);
    EXPECT_EQ(PoseFate::Blocked, plan.check.fates[44]);
    EXPECT_EQ(98, std::count(plan.check.fates.begin(), plan.check.fates.end(), PoseFate::Met));
    Image const image = pathPictureOf(plan, settings);
    std::size_t faults = 0;
    for (int y = 0; y < image.getHeight(); ++y) {
        for (int x = 0; x < image.getWidth(); ++x) {
            faults += image.getPixel(x, y) == faultColour ? 1U : 0U;
        }
    }
    // A square of 7 and a cross of two strokes of 9, on the map and in the legend.
    EXPECT_GE(faults, 2U * (49U + 30U));
    EXPECT_LE(faults, 2U * (49U + 50U));
}

TEST(PathPicture, IsWrittenWithThePathAndItsRecordOrNotAtAll) {
    ScratchDirectory const directory;
    Grid grid = plane();
    saveGrid(grid, directory / "plane.quads");
    DrawnPlanOptions options;
    options.plan.grid = directory / "plane.quads";
    options.plan.path = directory / "path.csv";
    options.plan.settings = stepsOf(1.0);
    options.image = directory / "nowhere" / "path.png";
    EXPECT_THROW(drawPlan(options, nullptr), Failure);
    EXPECT_FALSE(std::filesystem::exists(options.plan.path));

    options.image = directory / "path.png";
    EXPECT_EQ(100U, drawPlan(options, nullptr).path.poses.size());
    for (char const* const name : {"path.csv", "path.csv.json", "path.png", "path.png.json"}) {
        EXPECT_TRUE(std::filesystem::exists(directory / name)) << name;
    }
}

} // namespace QELT::Inspection
