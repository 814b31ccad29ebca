#pragma once

#include "Inspection/export.h"
#include "Inspection/records/outputs.h"
#include "Inspection/scanning/quadmap.h"
#include "Inspection/scanning/scan.h"
#include "Inspection/scanning/scanner.h"

#include <filesystem>
#include <string>
#include <vector>

namespace QELT::Inspection {

/// Names of images: the prefix followed by each name and ".png". A prefix that names a file and doesn't end
/// in a separator gets an underscore between.
QELT_INSPECTION_EXPORT std::vector<std::filesystem::path> imagePaths(std::string const& prefix,
                                                                     std::vector<std::string> const& names);

/// Those of a scan: "distance", "angle" and "coverage".
QELT_INSPECTION_EXPORT std::vector<std::filesystem::path> imagePaths(std::string const& prefix);

/// Adds the three images to what a run writes.
QELT_INSPECTION_EXPORT void addScanImages(Outputs& outputs, std::string const& prefix);

/// Writes the C-scan images, on the quads of `surface`, of distance, angle error and coverage and returns
/// their names. They have been added to the outputs.
QELT_INSPECTION_EXPORT std::vector<std::filesystem::path>
writeScanImages(std::string const& prefix, QuadMap const& surface, std::vector<Hit> const& hits,
                std::string const& unit, Outputs& outputs, ProgressListener* listener);

/// What to scan, and which pictures to write.
struct DrawnScanOptions {
    ScanOptions scan;
    std::string imagePrefix; ///< of the images' names
    std::string unit;        ///< the part's unit of length; if empty, what the inputs' records name
};

/// What was scanned and drawn.
struct DrawnScan {
    Scan scan;
    std::vector<std::filesystem::path> images;
};

/// Fires the beams, writes the table of hits and draws the C-scans. Fails as `scan` does, and if an image
/// cannot be written; that is found out before the work.
QELT_INSPECTION_EXPORT DrawnScan drawScan(DrawnScanOptions const& options, ProgressListener* listener);

} // namespace QELT::Inspection
