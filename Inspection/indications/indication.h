#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"
#include "Inspection/results/result.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// Where a measured value says that something is in the part.
namespace QELT::Inspection {

/// From where on a value shows something: a level in its unit, or a share of an indication's own peak or of
/// a level.
struct Threshold {
    bool isShare = false;
    double number = 0.0; ///< the level, or the share as a linear factor, such as 0.5; -6 dB are 0.501
};

/// What counts as an indication. Lengths are in the part's unit.
struct IndicationOptions {
    std::string value; ///< name or quantity of a map of the result
    Threshold threshold;
    std::optional<double> from;    ///< the level that a share is of; if absent, the indication's own peak
    bool isBelow = false;          ///< what lies below the level shows something, and so does a lost echo
    std::optional<double> minPeak; ///< peaks that do not reach this, in the value's unit, are passed over
    std::optional<double> beam;    ///< the beam's width on the part at half its peak
    double minArea = 0.0;          ///< smaller ones are left out, after merging
    double merge = 0.0;            ///< those whose rims are nearer than this along the surface become one
    bool doUseFilled = false;      ///< takes pixels that no shot met by the values they may be shown with
};

/// A place on the part's surface, in the part's own space.
struct SurfacePlace {
    Vector point;
    Vector normal; ///< outward, of unit length
    FlatPoint at;  ///< in quads of the scan plane; the middle of the first quad is (0.5, 0.5)
};

/// A connected place of the part that shows something, with its rim where the interpolated value meets the
/// threshold. Sizes are true sizes on the surface, in the part's unit.
struct Indication {
    std::size_t number = 0;              ///< from 1 on, the largest area first
    PixelState state = PixelState::Echo; ///< NoEcho: an echo is lost there; Saturated: the peak is at least
    std::optional<double> peak;        ///< in the value's unit; the least with `isBelow`; not of a lost echo
    double level = 0.0;                ///< the threshold at the peak, in the value's unit
    SurfacePlace centre;               ///< of its area, on the surface
    SurfacePlace peakPlace;            ///< of several equal ones, the nearest to the centre
    double length = 0.0;               ///< sides of the smallest rectangle that holds it, unrolled
    double width = 0.0;                ///< the shorter side
    double area = 0.0;                 ///< sum of its quads' own, in the square of the part's unit
    std::optional<double> depth;       ///< at the peak, of the first map of that quantity
    std::optional<double> incidence;   ///< the same
    bool doesTouchRim = false;         ///< it goes on, perhaps, where the grid has no surface
    bool doesTouchUnmeasured = false;  ///< or where no shot says anything
    bool isUnderBeam = false;          ///< no wider than a flaw of the beam's width would show
    std::vector<std::uint32_t> pixels; ///< beyond the threshold, ascending
    std::vector<std::vector<FlatPoint>> outlines; ///< closed lines in quads, counter-clockwise, holes not
};

/// Rim, unmeasured or both; empty if it touches neither.
QELT_INSPECTION_EXPORT std::string touchesOf(Indication const& indication);

} // namespace QELT::Inspection
