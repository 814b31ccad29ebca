#pragma once

#include "Inspection/export.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace QELT::Inspection {

/// Which coordinate of a file a coordinate becomes, and whether its sign changes.
struct SignedAxis {
    std::size_t axis = 0; ///< 0 to 2
    bool isNegative = false;

    bool operator==(SignedAxis const&) const = default;
};

/// How the axes of a file become those of the part: entry i is what coordinate i is taken from. Each axis
/// stands in it once, so that lengths stay.
using AxisMap = std::array<SignedAxis, 3>;

inline constexpr AxisMap sameAxes{{{0, false}, {1, false}, {2, false}}};

/// Reads "x,-z,y": the new x is the old x, the new y the old z with its sign changed, the new z the old y.
/// Nothing if the text is of another form or names an axis twice.
QELT_INSPECTION_EXPORT std::optional<AxisMap> parseAxisMap(std::string_view text);

/// "x,-z,y"
QELT_INSPECTION_EXPORT std::string toText(AxisMap const& map);

/// Whether the map is a mirror and no rotation: it turns polygons inside out.
QELT_INSPECTION_EXPORT bool isMirror(AxisMap const& map);

/// The point with its coordinates mapped.
QELT_INSPECTION_EXPORT std::array<double, 3> mapped(AxisMap const& map, std::array<double, 3> const& point);

} // namespace QELT::Inspection
