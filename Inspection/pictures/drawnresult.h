#pragma once

#include "Inspection/export.h"
#include "Inspection/pictures/valuepicture.h"
#include "Inspection/records/outputs.h"
#include "Inspection/results/measuredscan.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

/// Results drawn as they are made, or from their files.
namespace QELT::Inspection {

/// What to place on the part, and which pictures to write.
struct DrawnMeasuredScanOptions {
    MeasuredScanOptions scan;
    std::string
        imagePrefix; ///< of the names of pictures, one for each value and one of the states; none if empty
};

/// What was placed and drawn.
struct DrawnMeasuredScan {
    MeasuredScan scan;
    std::vector<std::filesystem::path> images;
};

/// Places the shots, writes the result and draws its values. Fails as `measuredScan` does, and if a picture
/// cannot be written.
QELT_INSPECTION_EXPORT DrawnMeasuredScan drawMeasuredScan(DrawnMeasuredScanOptions const& options,
                                                          ProgressListener* listener);

/// Which value of which result to draw.
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
