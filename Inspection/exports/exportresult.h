#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

/// Measured C-scans for other programs.
namespace QELT::Inspection {

/// Ends of a colour scale, in a value's unit.
struct ColourLimits {
    double low = 0.0;  ///< and below: the first colour
    double high = 1.0; ///< and above: the last
};

/// What to export, and how.
struct ExportOptions {
    std::filesystem::path result; ///< what `writeResult` has written
    std::filesystem::path output; ///< to write; its extension says what
    std::string value;            ///< the only value to export, or the coloured one; if empty, all of them
    std::optional<ColourLimits> limits; ///< of the colours; if absent, those of a picture's scale
};

/// What came of it.
struct Exported {
    std::vector<std::filesystem::path> files;
    std::vector<std::string> values; ///< names of those that were exported
    std::size_t quads = 0;           ///< with surface
};

/// Writes a result in a format that its output's extension names:
///
///     .vts   VTK structured grid: values, states, counts, areas and normals of cells
///            (those without surface are hidden)
///     .vtm   the same with a block, and a .vts file beside it, for each of several grids
///     .ply   the quads with the colours of one value
///     .npz   arrays for NumPy, and about.json with names and units
///     .tif   32-bit floats, a page a value, rows from the top (the last is v = 0); also .tiff
///
/// Places are the part's own. A pixel without a value has NaN. The same result gives the same bytes. Fails if
/// a file cannot be read or written, and if the extension, the value or the limits do not fit, with the
/// remedy.
QELT_INSPECTION_EXPORT Exported exportResult(ExportOptions const& options, ProgressListener* listener);

} // namespace QELT::Inspection
