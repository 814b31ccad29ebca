#include "Inspection/pictures/image.h"

#include "Inspection/pictures/internal/font.h"

#include <algorithm>
#include <cmath>

namespace QELT::Inspection {

namespace {

/// Lines and triangles far outside are drawn on a bounded stretch only.
double clamped(double coordinate) {
    constexpr double bound = 1e5;
    return std::isnan(coordinate) ? 0.0 : std::clamp(coordinate, -bound, bound);
}

int roundedDown(double coordinate) {
    return static_cast<int>(std::floor(clamped(coordinate)));
}

/// Twice the signed area of the triangle a, b, p.
double turn(double ax, double ay, double bx, double by, double px, double py) {
    return (bx - ax) * (py - ay) - (by - ay) * (px - ax);
}

bool isInTriangle(double const (&x)[3], double const (&y)[3], double px, double py) {
    bool hasLeft = false;
    bool hasRight = false;
    for (int i = 0; i < 3; ++i) {
        int const j = (i + 1) % 3;
        double const side = turn(x[i], y[i], x[j], y[j], px, py);
        hasLeft = hasLeft || side > 0.0;
        hasRight = hasRight || side < 0.0;
    }
    return !(hasLeft && hasRight);
}

} // namespace

Image::Image(int imageWidth, int imageHeight)
    : width(std::max(imageWidth, 1)),
      height(std::max(imageHeight, 1)),
      pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), white) {}

std::size_t Image::indexOf(int x, int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x);
}

Colour Image::getPixel(int x, int y) const {
    return contains(x, y) ? pixels[indexOf(x, y)] : white;
}

void Image::setPixel(int x, int y, Colour colour) {
    if (contains(x, y)) {
        pixels[indexOf(x, y)] = colour;
    }
}

Colour const* Image::getRow(int y) const {
    return pixels.data() + indexOf(0, y);
}

void Image::fillRectangle(int left, int top, int rectangleWidth, int rectangleHeight, Colour colour) {
    int const right = std::min(left + rectangleWidth, width);
    int const bottom = std::min(top + rectangleHeight, height);
    for (int y = std::max(top, 0); y < bottom; ++y) {
        for (int x = std::max(left, 0); x < right; ++x) {
            pixels[indexOf(x, y)] = colour;
        }
    }
}

void Image::drawFrame(int left, int top, int insideWidth, int insideHeight, Colour colour) {
    fillRectangle(left - 1, top - 1, insideWidth + 2, 1, colour);
    fillRectangle(left - 1, top + insideHeight, insideWidth + 2, 1, colour);
    fillRectangle(left - 1, top, 1, insideHeight, colour);
    fillRectangle(left + insideWidth, top, 1, insideHeight, colour);
}

void Image::drawLine(double x0, double y0, double x1, double y1, int thickness, Colour colour) {
    double const startX = clamped(x0);
    double const startY = clamped(y0);
    double const dX = clamped(x1) - startX;
    double const dY = clamped(y1) - startY;
    // Two steps a pixel leave no gap, however they are rounded.
    int const steps = 2 * static_cast<int>(std::ceil(std::max({std::abs(dX), std::abs(dY), 1.0})));
    double const half = 0.5 * (thickness - 1);
    for (int i = 0; i <= steps; ++i) {
        double const share = static_cast<double>(i) / steps;
        fillRectangle(roundedDown(startX + share * dX - half), roundedDown(startY + share * dY - half),
                      thickness, thickness, colour);
    }
}

void Image::fillTriangle(double const (&x)[3], double const (&y)[3], Colour colour) {
    int const left = std::max(roundedDown(std::min({x[0], x[1], x[2]})), 0);
    int const right = std::min(roundedDown(std::max({x[0], x[1], x[2]})), width - 1);
    int const top = std::max(roundedDown(std::min({y[0], y[1], y[2]})), 0);
    int const bottom = std::min(roundedDown(std::max({y[0], y[1], y[2]})), height - 1);
    for (int row = top; row <= bottom; ++row) {
        for (int column = left; column <= right; ++column) {
            if (isInTriangle(x, y, column + 0.5, row + 0.5)) {
                pixels[indexOf(column, row)] = colour;
            }
        }
    }
}

void Image::drawText(int left, int top, std::string_view text, int scale, Colour colour) {
    for (char const character : text) {
        Glyph const glyph = glyphOf(character);
        for (int row = 0; row < glyphHeight; ++row) {
            for (int column = 0; column < glyphWidth; ++column) {
                if (glyph.hasDot(column, row)) {
                    fillRectangle(left + column * scale, top + row * scale, scale, scale, colour);
                }
            }
        }
        left += glyphAdvance * scale;
    }
}

Colour Image::meanOfBlock(int left, int top, int size) const {
    unsigned red = 0;
    unsigned green = 0;
    unsigned blue = 0;
    for (int y = top; y < top + size; ++y) {
        for (int x = left; x < left + size; ++x) {
            Colour const colour = getPixel(x, y);
            red += colour.red;
            green += colour.green;
            blue += colour.blue;
        }
    }
    auto const count = static_cast<unsigned>(size) * static_cast<unsigned>(size);
    auto const mean = [count](unsigned sum) { return static_cast<std::uint8_t>((sum + count / 2) / count); };
    return {mean(red), mean(green), mean(blue)};
}

Image Image::reduced(int factor) const {
    Image result(width / factor, height / factor);
    for (int y = 0; y < result.height; ++y) {
        for (int x = 0; x < result.width; ++x) {
            result.setPixel(x, y, meanOfBlock(x * factor, y * factor, factor));
        }
    }
    return result;
}

void Image::paste(Image const& other, int left, int top) {
    for (int y = 0; y < other.height; ++y) {
        for (int x = 0; x < other.width; ++x) {
            setPixel(left + x, top + y, other.getPixel(x, y));
        }
    }
}

} // namespace QELT::Inspection
