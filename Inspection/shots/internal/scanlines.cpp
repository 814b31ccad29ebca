#include "Inspection/shots/internal/scanlines.h"

#include <algorithm>
#include <cmath>
#include <utility>

// A line ends where the way over the last few places and the way over those before them are at an angle:
// single steps of a robot that tells its place a thousand times a second are as much noise as motion. The
// next line begins there, so that both may hold a few places of the turn; these tell of the same points of
// the part, and only the middle of a line counts in what is made of it. The places of a finished line are
// averaged with their neighbours, together with their times, which takes noise away and leaves straight
// motion at constant speed as it is.

namespace QELT::Inspection {

namespace {

constexpr std::size_t minPlaces = 12;
constexpr std::size_t maxPlaces = 200000; ///< a longer sweep is cut, so that memory stays bounded

constexpr std::size_t directionPlaces = 4; ///< over which a direction is taken
constexpr std::size_t smoothingPlaces = 2; ///< to each side
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

/// Fewer to both sides near the ends.
TimedPlace meanAround(std::vector<TimedPlace> const& places, std::size_t middle) {
    std::size_t const reach = std::min({smoothingPlaces, middle, places.size() - 1 - middle});
    auto const count = static_cast<double>(2 * reach + 1);
    TimedPlace mean;
    for (std::size_t i = middle - reach; i <= middle + reach; ++i) {
        mean.time += places[i].time / count;
        mean.place = mean.place + (1.0 / count) * places[i].place;
    }
    return mean;
}

} // namespace

bool ScanLineFinder::doesGoOn() const {
    std::size_t const last = places.size() - 1;
    if (last < 2 * directionPlaces) {
        return true;
    }
    TimedPlace const& middle = places[last - directionPlaces];
    Triple const after = places[last].place - middle.place;
    Triple const before = middle.place - places[last - 2 * directionPlaces].place;
    double const speed = way / (places[last].time - places.front().time);
    bool const isMoving = lengthOf(after) > slowShare * speed * (places[last].time - middle.time);
    return isMoving && places.size() < maxPlaces &&
           dot(after, before) > turnCosine * lengthOf(after) * lengthOf(before);
}

std::optional<ScanLine> ScanLineFinder::add(TimedPlace const& place) {
    way += places.empty() ? 0.0 : lengthOf(place.place - places.back().place);
    places.push_back(place);
    if (doesGoOn()) {
        return std::nullopt;
    }
    std::vector<TimedPlace> const next(places.end() - directionPlaces - 1, places.end());
    places.resize(places.size() - directionPlaces);
    auto line = finish();
    for (TimedPlace const& each : next) {
        way += places.empty() ? 0.0 : lengthOf(each.place - places.back().place);
        places.push_back(each);
    }
    return line;
}

std::optional<ScanLine> ScanLineFinder::finish() {
    std::vector<TimedPlace> const raw = std::exchange(places, {});
    way = 0.0;
    if (raw.size() < minPlaces) {
        return std::nullopt;
    }
    ScanLine line;
    double sum = 0.0;
    for (std::size_t i = 0; i < raw.size(); ++i) {
        line.places.push_back(meanAround(raw, i));
        sum += i == 0 ? 0.0 : lengthOf(line.places[i].place - line.places[i - 1].place);
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
