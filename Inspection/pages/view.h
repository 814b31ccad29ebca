#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>

/// Pages to look at a part and its C-scan with, in any browser.
namespace QELT::Inspection {

/// How exactly the page holds values and places.
enum class PagePrecision : std::uint8_t {
    Steps16, ///< values in 65,536 steps, places in a thousandth of a pixel; the page tells the errors
    Float32, ///< values and places in single precision
};

/// What to show, and where to write the page.
struct ViewOptions {
    std::filesystem::path input;                      ///< a result of `scan`, a grid or a part
    std::filesystem::path output;                     ///< the page
    std::optional<std::filesystem::path> indications; ///< a table as `indications` writes it
    std::optional<std::filesystem::path> shots;       ///< a table of hits as `scan` writes it
    std::optional<std::filesystem::path> path;        ///< a table of poses: x,y,z or ox,oy,oz with dx,dy,dz
    std::optional<double> beam; ///< diameter of the beam on the surface, in the part's unit
    PagePrecision precision = PagePrecision::Steps16;
    /// Takes the coordinates of a part and of the path to those of the part.
    std::optional<std::filesystem::path> frame = {};
};

/// What the page shows.
enum class ViewedKind : std::uint8_t { OfResult, OfGrid, OfPart };

/// What the page holds, and how far its numbers are from those of the input at most.
struct View {
    ViewedKind kind = ViewedKind::OfGrid;
    std::size_t quadCount = 0; ///< or triangles of a part
    std::size_t valueCount = 0;
    std::size_t indicationCount = 0;
    std::size_t byteCount = 0;         ///< of the page
    double placeError = 0.0;           ///< of a node, in the part's unit
    std::optional<double> normalError; ///< in degrees, of the pixels' normals
    std::optional<double> valueError;  ///< the greatest share of a value's range
};

/// Whether the library was built with the page.
QELT_INSPECTION_EXPORT bool hasPage();

/// Writes one page that needs nothing but a browser: no server, no other file, no request. Fails if the
/// library was built without the page, and says how to get it.
QELT_INSPECTION_EXPORT View view(ViewOptions const& options, ProgressListener* listener);

} // namespace QELT::Inspection
