#pragma once

#include "Inspection/export.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace QELT::Inspection {

/// Red, green and blue, 0 to 255 each.
struct Colour {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;

    bool operator==(Colour const&) const = default;
};

constexpr Colour white{255, 255, 255};
constexpr Colour black{0, 0, 0};

/// A picture of opaque pixels, white at first. Pixel (0, 0) is the top left one; whatever is drawn outside
/// the picture is cut off.
class QELT_INSPECTION_EXPORT Image {
public:
    Image(int width, int height);

    int getWidth() const { return width; }

    int getHeight() const { return height; }

    /// White outside the picture.
    Colour getPixel(int x, int y) const;
    void setPixel(int x, int y, Colour colour);

    /// `getWidth()` pixels from the left.
    Colour const* getRow(int y) const;

    /// From pixel (left, top) on; what lies outside the image is left out, here and below.
    void fillRectangle(int left, int top, int rectangleWidth, int rectangleHeight, Colour colour);

    /// The rim of one pixel around a rectangle of the given inside.
    void drawFrame(int left, int top, int insideWidth, int insideHeight, Colour colour);

    /// A straight line with square brush of `thickness` pixels.
    void drawLine(double x0, double y0, double x1, double y1, int thickness, Colour colour);

    /// The pixels whose middles lie between the corners (x[i], y[i]).
    void fillTriangle(double const (&x)[3], double const (&y)[3], Colour colour);

    /// Text whose top left corner is at (left, top); a glyph's dot is `scale` by `scale` pixels.
    void drawText(int left, int top, std::string_view text, int scale, Colour colour);

    /// A copy in which each pixel is the mean of a block of `factor` by `factor`; what is left over at the
    /// right and the bottom is dropped.
    Image reduced(int factor) const;

    /// Copies another picture onto this one.
    void paste(Image const& other, int left, int top);

private:
    int width;
    int height;
    std::vector<Colour> pixels;

    bool contains(int x, int y) const { return x >= 0 && x < width && y >= 0 && y < height; }

    std::size_t indexOf(int x, int y) const;
    Colour meanOfBlock(int left, int top, int size) const;
};

} // namespace QELT::Inspection
