#pragma once

#include "Inspection/export.h"
#include "Inspection/grids/prepare.h"
#include "Inspection/pictures/image.h"

#include <filesystem>
#include <string>
#include <vector>

/// What a preparation came to, drawn.
namespace QELT::Inspection {

/// The sides of a grid's pixels, the roots of its quads' areas, on its own quads.
QELT_INSPECTION_EXPORT Image pixelPictureOf(Grid const& grid, std::string const& unit);

/// What to prepare, and which pictures to write.
struct DrawnPrepareOptions {
    PrepareOptions prepare;
    std::string imagePrefix; ///< of the images' names; empty if none are wished
};

/// What was prepared and drawn.
struct DrawnPreparation {
    PrepareResult prepared;
    std::vector<std::filesystem::path> images;
};

/// Prepares a grid and draws the chosen flat map, "map.png", and the sizes of the pixels, "pixels.png", also
/// if the grid is not fit and not written. Fails as `prepare` does, and, before the work, if an image cannot
/// be written.
QELT_INSPECTION_EXPORT DrawnPreparation drawPreparation(DrawnPrepareOptions const& options,
                                                        ProgressListener* listener,
                                                        PrepareObserver const& observer = {});

} // namespace QELT::Inspection
