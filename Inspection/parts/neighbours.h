#pragma once

#include "Inspection/export.h"
#include "Inspection/import/part.h"
#include "Inspection/names.h"

#include <cstddef>
#include <filesystem>
#include <vector>

namespace QELT::Inspection {

/// Which place to look around, in which cloud.
struct NeighboursOptions {
    PlacedPart cloud; ///< points of any format; of a mesh its points
    Point place;
    std::size_t count = 1; ///< at least 1
};

/// A point of a cloud by its place in the file.
struct Neighbour {
    std::size_t index = 0; ///< from 0
    Point point;
    double distance = 0.0; ///< from the place asked about, in the cloud's unit
};

/// Points of a cloud near a place, the nearest first. They come from the core's partition tree, whose search
/// may miss some of the nearest. Fails if none are asked for and if the cloud cannot be read or holds fewer
/// points.
QELT_INSPECTION_EXPORT std::vector<Neighbour> findNeighbours(NeighboursOptions const& options,
                                                             ProgressListener* listener);

} // namespace QELT::Inspection
