#pragma once

#include "Inspection/pictures/image.h"
#include "Inspection/results/result.h"

#include <string>

namespace QELT::Inspection {

/// Where the pixels of a result lie in a picture of them, v upwards. Each is a square of whole dots.
struct PixelDots {
    std::size_t width = 0; ///< in pixels
    std::size_t height = 0;
    int side = 1;    ///< of a pixel
    int borderU = 0; ///< pixels without surface that are shown on the left and the right
    int borderV = 0;

    int imageWidth() const { return (static_cast<int>(width) + 2 * borderU) * side; }

    int imageHeight() const { return (static_cast<int>(height) + 2 * borderV) * side; }

    double x(double u) const { return (u + borderU) * side; }

    double y(double v) const { return imageHeight() - (v + borderV) * side; }
};

/// Those of a small result magnified. Fails if there are more than 64 million.
PixelDots pixelDotsOf(Result const& result);

/// Draws a pixel; a filled one with every other diagonal of dots towards white.
void drawPixel(Image& image, int left, int top, int side, Colour const& colour, bool isFilled);

/// A picture with each pixel in the colour that `colourOf` gives for it, hatched if `isFilled` says so.
template <class ColourOfPixel, class IsFilled>
Image pixelMapOf(Result const& result, PixelDots const& dots, ColourOfPixel colourOf, IsFilled isFilled) {
    Image image(dots.imageWidth(), dots.imageHeight());
    for (std::size_t pixel = 0; pixel < result.size(); ++pixel) {
        auto const u = static_cast<int>(pixel % result.width);
        auto const v = static_cast<int>(pixel / result.width);
        auto const row = static_cast<int>(result.height) - 1 - v;
        drawPixel(image, (dots.borderU + u) * dots.side, (dots.borderV + row) * dots.side, dots.side,
                  colourOf(pixel), isFilled(pixel));
    }
    return image;
}

/// Writes a text in a box beside a place in dots, within the picture also where the place is at its rim.
void drawLabel(Image& image, double x, double y, std::string const& text);

/// A text whose top left corner is given, in a box.
void drawTextBox(Image& image, int left, int top, std::string const& text);

} // namespace QELT::Inspection
