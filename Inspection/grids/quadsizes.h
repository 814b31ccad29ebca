#pragma once

#include "Inspection/export.h"
#include "Inspection/maps/mapquality.h"
#include "Inspection/names.h"

#include <array>
#include <cstddef>
#include <optional>

namespace QELT::Inspection {

/// How large the quads of a grid are, each beside their median.
struct QuadSizes {
    std::size_t quadCount = 0; ///< valid ones
    std::size_t nanCount = 0;  ///< of them with an area that is no number
    double mean = 0.0;         ///< of the others, in the square of the part's unit
    double median = 0.0;       ///< in the square of the part's unit
    /// How many lie below 1/4 of the median, to 1/2, to 2, to 4 times, and above.
    std::array<std::size_t, 5> counts{};

    /// The share, 0 to 1, that lies within `bearableAreaFactor` of the median.
    double alikeShare() const {
        return quadCount == 0
                   ? 0.0
                   : static_cast<double>(counts[1] + counts[2] + counts[3]) / static_cast<double>(quadCount);
    }
};

/// The area of a valid quad as the core reckons it: that of the two triangles on either side of its diagonal.
QELT_INSPECTION_EXPORT double quadAreaOf(Grid const& grid, GridIndex const& quad);

/// Measures all valid quads.
QELT_INSPECTION_EXPORT QuadSizes quadSizesOf(Grid const& grid);

/// How fine a grid is to be. At most one of the three is given; without any a pixel that suits the part's
/// size is taken.
struct GridResolution {
    std::optional<double> quadArea;   ///< mean of the quads, in the square of the part's unit
    std::optional<double> pixel;      ///< the root of that, in the part's unit
    std::optional<std::size_t> width; ///< quads along u
};

/// What a resolution comes to on a flat map.
struct GridSpacing {
    double spacing = 0.0;  ///< of the nodes in the flat map
    double quadArea = 0.0; ///< that it makes on average over the surface
};

/// The spacing follows from the area of the whole surface and that of its whole map. Few triangles that the
/// map shrinks to almost nothing do not move it, as they move a mean of ratios.
QELT_INSPECTION_EXPORT GridSpacing spacingFor(GridResolution const& resolution, MapQuality const& quality,
                                              double flatWidth);

/// How far the mean of the quads may be from the area asked for.
constexpr double quadAreaTolerance = 0.05;

} // namespace QELT::Inspection
