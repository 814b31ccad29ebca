#pragma once

#include "Inspection/export.h"
#include "Inspection/pictures/image.h"
#include "Inspection/records/outputs.h"
#include "Inspection/results/measuredscan.h"
#include "Inspection/results/result.h"

#include <array>
#include <filesystem>
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

/// The picture of one value: title with unit, map with v upwards, axes that tell lengths on the surface along
/// a row and a column that are named, colour bar with the number of pixels beyond its ends, and what the
/// colours of the other states are, with their areas. Pixels that show what a neighbour measured are hatched.
/// Fails if the result has more than 64 million pixels, or limits or bands do not rise.
QELT_INSPECTION_EXPORT Image valuePicture(Result const& result, ValueMap const& map,
                                          ValuePictureOptions const& options = {});

/// The picture of the states alone.
QELT_INSPECTION_EXPORT Image statePicture(Result const& result);

struct DrawnMeasuredScanOptions {
    MeasuredScanOptions scan;
    std::string
        imagePrefix; ///< of the names of pictures, one for each value and one of the states; none if empty
};

struct DrawnMeasuredScan {
    MeasuredScan scan;
    std::vector<std::filesystem::path> images;
};

/// Places the shots, writes the result and draws its values. Fails as `measuredScan` does, and if a picture
/// cannot be written.
QELT_INSPECTION_EXPORT DrawnMeasuredScan drawMeasuredScan(DrawnMeasuredScanOptions const& options,
                                                          ProgressListener* listener);

struct PictureOptions {
    std::filesystem::path result;
    std::string value; ///< its name or quantity; if empty, the states
    ValuePictureOptions style;
    /// Paint each shot as a spot of this diameter along the surface, for looking alone: in place of what the
    /// result was filled with.
    std::optional<double> spot;
    std::filesystem::path image;
};

/// Draws one value of a result.
QELT_INSPECTION_EXPORT void drawResult(PictureOptions const& options, ProgressListener* listener);

} // namespace QELT::Inspection
