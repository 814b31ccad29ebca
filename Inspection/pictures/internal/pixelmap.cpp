#include "Inspection/pictures/internal/pixelmap.h"

#include "Inspection/pictures/internal/colouring.h"
#include "Inspection/pictures/internal/layout.h"
#include "Inspection/records/failure.h"

#include <algorithm>

namespace QELT::Inspection {

namespace {

constexpr double mostPixels = 64e6;
constexpr int labelLift = labelHeight + 6; ///< of a label's top above its place

} // namespace

PixelDots pixelDotsOf(Result const& result) {
    require(static_cast<double>(result.size()) <= mostPixels,
            "the result has too many pixels for a picture: " + std::to_string(result.size()));
    return {result.width, result.height, magnificationOf(result.width, result.height)};
}

void drawPixel(Image& image, int left, int top, int side, Colour const& colour, bool isFilled) {
    image.fillRectangle(left, top, side, side, colour);
    if (!isFilled) {
        return;
    }
    constexpr double pale = 0.6;
    constexpr int period = 4;
    for (int y = top; y < top + side; ++y) {
        for (int x = left; x < left + side; ++x) {
            if ((x + y) % period < 2) {
                image.setPixel(x, y, colourBetween(colour, white, pale));
            }
        }
    }
}

void drawLabel(Image& image, double x, double y, std::string const& text) {
    constexpr int border = 4;
    int const right = image.getWidth() - labelWidth(text) - border;
    int const bottom = image.getHeight() - capitalHeight - border;
    int const left = std::max(std::min(static_cast<int>(x) + pictureGap / 2, right), border);
    int const top = std::max(std::min(static_cast<int>(y) - labelLift, bottom), border);
    drawTextBox(image, left, top, text);
}

void drawTextBox(Image& image, int left, int top, std::string const& text) {
    int const width = labelWidth(text) + 2 * labelBorder;
    int const height = capitalHeight + 2 * labelBorder;
    image.fillRectangle(left - labelBorder, top - labelBorder, width, height, white);
    image.drawFrame(left - labelBorder, top - labelBorder, width, height, inkColour);
    image.drawText(left, top, text, labelScale, black);
}

} // namespace QELT::Inspection
