#include "Inspection/pictures/preparedgrid.h"

#include "Inspection/pictures/internal/colourmap.h"
#include "Inspection/pictures/internal/scale.h"

#include <gtest/gtest.h>

#include <cstddef>

namespace QELT::Inspection {
namespace {

std::size_t countOf(Image const& image, Colour colour) {
    std::size_t count = 0;
    for (int y = 0; y < image.getHeight(); ++y) {
        for (int x = 0; x < image.getWidth(); ++x) {
            count += image.getPixel(x, y) == colour ? 1U : 0U;
        }
    }
    return count;
}

/// Two quads of 1 by 1 and one of 9 by 1, whose pixel's side is 3: on the grid each is as large.
TEST(PixelPicture, showsTheSideOfEachQuadsPixel) {
    Grid grid;
    grid.init({3, 1});
    double const places[] = {0.0, 1.0, 2.0, 11.0};
    for (int u = 0; u <= 3; ++u) {
        for (int v = 0; v <= 1; ++v) {
            grid.setPoint(GridIndex(u, v), Point(places[u], v, 0.0));
            grid.setPointFlag(GridIndex(u, v), Grid::Interior, true);
        }
    }
    Image const image = pixelPictureOf(grid, "mm");
    Scale const scale = scaleFor({1.0, 1.0, 3.0}, 0.0);
    auto const small = static_cast<double>(countOf(image, colourOfShare(scale.shareOf(1.0))));
    auto const large = static_cast<double>(countOf(image, colourOfShare(scale.shareOf(3.0))));
    EXPECT_GT(large, 1000.0);
    EXPECT_NEAR(small / large, 2.0, 0.2);
}

} // namespace
} // namespace QELT::Inspection
