#include "Inspection/shots/internal/scanlines.h"

#include <algorithm>
#include <cmath>

namespace QELT::Inspection {

namespace {

constexpr std::size_t minPlaces = 8;
constexpr std::size_t maxPlaces = 200000; ///< a longer sweep is cut, so that memory stays bounded

/// Over so many places the direction is taken, so that noise of a single one does not cut the line.
constexpr std::size_t directionPlaces = 4;
constexpr double turnCosine = 0.5;

/// Of the line's own speed; slower is standing still.
constexpr double slowShare = 0.1;

constexpr double minOverlap = 0.5;
constexpr double maxDistanceShare = 0.25;

/// The place on a segment nearest to a point, as a share of the segment from 0 to 1.
double shareNearest(Triple const& from, Triple const& to, Triple const& point) {
    Triple const side = to - from;
    double const square = dot(side, side);
    return square > 0.0 ? std::clamp(dot(point - from, side) / square, 0.0, 1.0) : 0.0;
}

struct Nearest {
    double distance;
    double way;
};

Nearest nearestOn(ScanLine const& line, std::size_t segment, Triple const& point) {
    Triple const& from = line.places[segment].place;
    Triple const& to = line.places[segment + 1].place;
    double const share = shareNearest(from, to, point);
    return {lengthOf(point - (from + share * (to - from))),
            line.way[segment] + share * (line.way[segment + 1] - line.way[segment])};
}

std::size_t nearestSegment(ScanLine const& line, Triple const& point) {
    std::size_t best = 0;
    for (std::size_t i = 1; i + 1 < line.places.size(); ++i) {
        best = nearestOn(line, i, point).distance < nearestOn(line, best, point).distance ? i : best;
    }
    return best;
}

/// From a segment downhill.
std::size_t descend(ScanLine const& line, std::size_t segment, Triple const& point) {
    std::size_t const last = line.places.size() - 2;
    double here = nearestOn(line, segment, point).distance;
    for (int const step : {-1, 1}) {
        while (segment != (step < 0 ? 0 : last)) {
            std::size_t const next = step < 0 ? segment - 1 : segment + 1;
            double const there = nearestOn(line, next, point).distance;
            if (there > here) {
                break;
            }
            here = there;
            segment = next;
        }
    }
    return segment;
}

} // namespace

bool ScanLineFinder::doesGoOn(TimedPlace const& place) const {
    if (places.size() < 2) {
        return true;
    }
    Triple const step = place.place - places.back().place;
    Triple const before =
        places.back().place - places[places.size() - std::min(directionPlaces, places.size())].place;
    double const speed = way / (places.back().time - places.front().time);
    bool const isMoving = lengthOf(step) > slowShare * speed * (place.time - places.back().time);
    return isMoving && places.size() < maxPlaces &&
           dot(step, before) > turnCosine * lengthOf(step) * lengthOf(before);
}

std::optional<ScanLine> ScanLineFinder::add(TimedPlace const& place) {
    std::optional<ScanLine> line;
    if (!doesGoOn(place)) {
        TimedPlace const turn = places.back();
        line = finish();
        places.push_back(turn); // where one line ends the next begins
    }
    way += places.empty() ? 0.0 : lengthOf(place.place - places.back().place);
    places.push_back(place);
    return line;
}

std::optional<ScanLine> ScanLineFinder::finish() {
    ScanLine line;
    line.places.swap(places);
    way = 0.0;
    if (line.places.size() < minPlaces) {
        return std::nullopt;
    }
    double sum = 0.0;
    line.way.push_back(sum);
    for (std::size_t i = 1; i < line.places.size(); ++i) {
        sum += lengthOf(line.places[i].place - line.places[i - 1].place);
        line.way.push_back(sum);
    }
    return line;
}

Projection projectionOn(ScanLine const& line, ScanLine const& other) {
    Projection projection;
    std::size_t segment = nearestSegment(line, other.places.front().place);
    for (TimedPlace const& each : other.places) {
        segment = descend(line, segment, each.place);
        Nearest const nearest = nearestOn(line, segment, each.place);
        projection.way.push_back(nearest.way);
        projection.meanDistance += nearest.distance / static_cast<double>(other.places.size());
    }
    return projection;
}

bool isBackOf(ScanLine const& line, Projection const& projection) {
    return projection.way.front() - projection.way.back() >= minOverlap * line.length() &&
           projection.meanDistance <= maxDistanceShare * line.length();
}

} // namespace QELT::Inspection
