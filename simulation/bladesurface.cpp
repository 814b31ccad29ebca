#include "simulation/bladesurface.h"

#include <cmath>
#include <numbers>

namespace QELT::Simulation {

namespace {

constexpr double camberHeight = 7.0;
constexpr double twistAtTip = 14.0 * std::numbers::pi / 180.0;

constexpr BladePlace dentCentre{-11.0, 21.0};
constexpr double dentDepth = 0.4;
constexpr double dentRadius = 5.0; ///< where it is exp(-1/2) of its depth

Point toPoint(Vector const& position) {
    return Point(position.getdX(), position.getdY(), position.getdZ());
}

double dentLift(BladePlace const& place) {
    double const dChord = (place.chord - dentCentre.chord) / dentRadius;
    double const dSpan = (place.span - dentCentre.span) / dentRadius;
    return -dentDepth * std::exp(-0.5 * (dChord * dChord + dSpan * dSpan));
}

} // namespace

Vector BladeSurface::position(BladePlace const& place, double lift) const {
    double const share = place.chord / halfChord;
    double const height = camberHeight * (1.0 - share * share) + lift;
    double const twist = twistAtTip * place.span / halfSpan;
    return Vector(place.chord * std::cos(twist) + height * std::sin(twist), place.span,
                  height * std::cos(twist) - place.chord * std::sin(twist));
}

Point BladeSurface::nominalPoint(BladePlace const& place) const {
    return toPoint(position(place, 0.0));
}

Point BladeSurface::builtPoint(BladePlace const& place) const {
    return toPoint(builtPosition(place));
}

Vector BladeSurface::builtPosition(BladePlace const& place) const {
    return position(place, dentLift(place));
}

Vector BladeSurface::normal(BladePlace const& place) const {
    constexpr double h = 1e-3;
    Vector const alongChord =
        position({place.chord + h, place.span}, 0.0) - position({place.chord - h, place.span}, 0.0);
    Vector const alongSpan =
        position({place.chord, place.span + h}, 0.0) - position({place.chord, place.span - h}, 0.0);
    Vector const normal = alongChord.cross(alongSpan);
    return normal / std::sqrt(normal.lSqr());
}

} // namespace QELT::Simulation
