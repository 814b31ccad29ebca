#pragma once

#include "Inspection/pictures/internal/colouring.h"
#include "Inspection/pictures/internal/pixelmap.h"

#include <optional>
#include <string>
#include <vector>

namespace QELT::Inspection {

constexpr int swatchSide = 16;

/// A line of the legend: a colour, or what is drawn in its place, and what it means.
struct LegendEntry {
    Colour colour;
    std::string text;
    bool isHatched = false;
    std::optional<Image> symbol{}; ///< of the side of a swatch
};

/// What is drawn around a map of a result's pixels.
struct SheetContent {
    std::string title;
    std::vector<std::string> notes;
    std::vector<LegendEntry> legend;
    std::optional<Colouring> colouring; ///< for the bar
    std::string above;                  ///< how many pixels lie beyond the bar's ends
    std::string below;
};

/// The picture put together: title, map, axes that tell lengths on the surface along a row and a column that
/// are named, colour bar, notes and legend.
Image sheetOf(Result const& result, PixelDots const& dots, Image const& map, SheetContent const& content);

/// How wide pixels are on the part.
std::string scaleNote(Result const& result);

/// A part of an area in percent.
std::string shareText(double part, double whole);

} // namespace QELT::Inspection
