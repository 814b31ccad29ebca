#pragma once

#include "Inspection/pictures/image.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

/// What is drawn over the map of a path.
namespace QELT::Inspection {

/// Surface that a footprint covers, and that none does.
constexpr Colour coveredColour{208, 226, 240};
constexpr Colour leftColour{250, 196, 70};

/// The way from one pose to the next.
enum class Stretch : std::uint8_t {
    Line,      ///< over the surface, shot by shot
    Overshoot, ///< past the end of a line
    Turn,      ///< on to the next line
    Link,      ///< on along a line, over a hole
    Lifted,    ///< to another run with the probe lifted
};

constexpr std::array<Stretch, 5> allStretches{Stretch::Overshoot, Stretch::Line, Stretch::Turn, Stretch::Link,
                                              Stretch::Lifted};

constexpr Colour lineColour{40, 60, 90};
constexpr Colour overshootColour{120, 120, 120};
constexpr Colour turnColour{0, 130, 80};
constexpr Colour linkColour{215, 30, 40};
constexpr Colour liftedColour{140, 40, 190};

/// Draws a stretch of the way from one place in dots to another; the lifted probe's is dashed.
void drawStretch(Image& image, std::array<double, 2> const& from, std::array<double, 2> const& to,
                 Stretch stretch, int thickness);

/// An arrow head in the middle between two places, to the second.
void drawArrow(Image& image, std::array<double, 2> const& from, std::array<double, 2> const& to);

enum class PathMark : std::uint8_t { Start, End, Missed, Blocked, Sharp, LongestGap, LargestAngle };

constexpr Colour startColour{0, 150, 60};
constexpr Colour endColour{20, 20, 20};
constexpr Colour faultColour{215, 30, 40};
constexpr Colour sharpColour{230, 110, 20};
constexpr Colour gapColour{200, 20, 150};
constexpr Colour angleColour{30, 60, 220};

/// Fits a swatch.
void drawPathMark(Image& image, std::array<double, 2> const& place, PathMark mark);

/// Texts in boxes, each beside its place and off those before.
class PlacedLabels {
public:
    /// Within the image.
    void draw(Image& image, std::array<double, 2> const& place, std::string const& text);

private:
    struct Box {
        int left;
        int top;
        int width;
        int height;

        bool doesMeet(Box const& other) const {
            return left < other.left + other.width && other.left < left + width &&
                   top < other.top + other.height && other.top < top + height;
        }
    };

    std::vector<Box> taken;
};

} // namespace QELT::Inspection
