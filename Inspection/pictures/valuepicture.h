#pragma once

#include "Inspection/export.h"
#include "Inspection/pictures/image.h"
#include "Inspection/results/result.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

/// C-scans of measured values as pictures.
namespace QELT::Inspection {

/// What colours stand for values. Lightness, as the eye sees it, changes evenly along each.
enum class ColourMap : std::uint8_t {
    Colour,    ///< dark violet blue over green to light yellow
    Grey,      ///< dark to light
    Diverging, ///< blue over almost white to red: for values around zero
};

/// How the values of a result are shown.
struct ValuePictureOptions {
    std::optional<std::array<double, 2>> limits; ///< of the colours; over the bulk of the values if not given
    std::vector<double> bands;                   ///< if any, colours change at these values alone; they rise
    ColourMap map = ColourMap::Colour;
    bool isOfSpots = false; ///< what was filled are the spots of shots, which the legend then says
    std::vector<std::vector<FlatPoint>> outlines{}; ///< closed lines to draw, in pixels of the result
    std::vector<std::pair<FlatPoint, std::string>>
        labels{}; ///< texts to write, each beside a place in pixels
};

/// How a value is shown if nobody says otherwise: what may be above or below zero, as a residual, in
/// diverging colours with zero in their middle.
QELT_INSPECTION_EXPORT ValuePictureOptions usualStyleOf(ValueMap const& map);

/// The picture of one value: title with unit, map with v upwards, axes that tell lengths on the surface along
/// a row and a column that are named, colour bar with the number of pixels beyond its ends, and what the
/// colours of the other states are, with their areas. Pixels that show what a neighbour measured are hatched.
/// Fails if the result has more than 64 million pixels, or limits or bands do not rise.
QELT_INSPECTION_EXPORT Image valuePicture(Result const& result, ValueMap const& map,
                                          ValuePictureOptions const& options = {});

/// The picture of the states alone.
QELT_INSPECTION_EXPORT Image statePicture(Result const& result);

} // namespace QELT::Inspection
