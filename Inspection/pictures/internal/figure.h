#pragma once

#include "Inspection/pictures/image.h"
#include "Inspection/pictures/internal/scale.h"
#include "Inspection/scanning/quadmap.h"

#include <string>
#include <vector>

namespace QELT::Inspection {

/// How a map is to be shown.
struct FigureStyle {
    std::string title; ///< with the unit
    Scale scale;
    std::string note;                               ///< a line below the map
    std::vector<std::vector<FlatPoint>> outlines{}; ///< closed lines drawn over the map, in quads
};

/// The picture of a map: title, map with the v axis upwards, colour bar with labels, a line of figures.
/// Small maps are magnified by a whole factor, large ones averaged down.
Image figureOf(QuadMap const& map, FigureStyle const& style);

/// Quads without surface.
constexpr Colour noSurfaceColour{190, 190, 190};

/// Surface that holds no value.
constexpr Colour noValueColour = white;

/// The longest side of a map in pixels beyond which quads are averaged.
constexpr std::size_t longestSide = 1600;

} // namespace QELT::Inspection
