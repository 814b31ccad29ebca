#pragma once

#include "Inspection/frames/turn.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace QELT::Inspection {

/// Where the probe was at a time, in seconds.
struct TimedPlace {
    double time = 0.0;
    Triple place{};
};

/// A run of places in one sweep.
struct ScanLine {
    std::vector<TimedPlace> places;
    std::vector<double> way; ///< along it, from its first place

    double length() const { return way.back(); }

    double begin() const { return places.front().time; }

    double end() const { return places.back().time; }
};

/// Cuts the way of a probe where it stands still or turns by more than 60 degrees.
class ScanLineFinder {
public:
    /// The line that ended a few places before this one, if it did; lines of a few places are left out.
    std::optional<ScanLine> add(TimedPlace const& place);

    /// The line that the last place ends.
    std::optional<ScanLine> finish();

private:
    std::vector<TimedPlace> places;
    double way = 0.0;

    bool doesGoOn() const;
};

/// How far along `line` the places of another one are, where these come nearest to it.
struct Projection {
    std::vector<double> way;
    double meanDistance = 0.0;
};

Projection projectionOn(ScanLine const& line, ScanLine const& other);

/// Whether the other line runs back beside the line, by at least half its length.
bool isBackOf(ScanLine const& line, Projection const& projection);

} // namespace QELT::Inspection
