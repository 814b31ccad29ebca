#pragma once

#include <string>
#include <vector>

namespace QELT::Inspection {

/// The value scale of a colour bar: it begins and ends on a tick.
struct Scale {
    double low = 0.0;
    double high = 1.0;
    double step = 0.2;

    /// Where `value` lies between the ends, 0 to 1; values outside give the nearest end.
    double shareOf(double value) const;

    std::vector<double> ticks() const;

    /// A tick's label, with as many decimals as the step needs.
    std::string labelOf(double tick) const;
};

/// A scale of round steps (1, 2 or 5 times a power of ten, none below `smallestStep`) over the bulk of the
/// values: one in two hundred at either end may lie outside, lest a few strays take all the colours.
Scale scaleFor(std::vector<double> values, double smallestStep);

/// The same from zero up to the largest value.
Scale scaleFromZero(std::vector<double> const& values, double smallestStep);

} // namespace QELT::Inspection
