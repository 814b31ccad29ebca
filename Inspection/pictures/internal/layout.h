#pragma once

#include "Inspection/pictures/image.h"
#include "Inspection/pictures/internal/font.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

/// What the pictures have in common: their margins, letters, and sizes of maps, in dots.
namespace QELT::Inspection {

constexpr int pictureMargin = 24;
constexpr int pictureGap = 12; ///< between the parts of a picture
constexpr int titleScale = 3;
constexpr int labelScale = 2;
constexpr int labelHeight = glyphHeight * labelScale;
constexpr int capitalHeight = 7 * labelScale; ///< of a label's letters above their base line
constexpr int barWidth = 28;
constexpr int tickLength = 6;
constexpr Colour inkColour{40, 40, 40};

/// The side up to which small maps are magnified.
constexpr std::size_t magnifiedSide = 900;

inline int labelWidth(std::string_view text) {
    return widthOfText(text) * labelScale;
}

/// Of the box around a text on a map.
constexpr int labelBorder = 3;

/// Of a map of so many pixels: the dots along the side of one.
inline int magnificationOf(std::size_t width, std::size_t height) {
    std::size_t const side = std::max<std::size_t>({width, height, 1});
    return static_cast<int>(std::clamp<std::size_t>(magnifiedSide / side, 1, 64));
}

} // namespace QELT::Inspection
