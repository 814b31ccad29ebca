#include "simulation/probe.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace QELT::Simulation {

namespace {

/// Of the probe's swinging, in millimetres; it fits no usual spacing.
constexpr double wobbleLength = 47.0;

/// Keeps a length that is a multiple of the spacing, but for rounding, from a line or a shot more.
constexpr double hair = 1e-9;

std::size_t intervalsIn(double length, double spacing) {
    return static_cast<std::size_t>(std::ceil(length / spacing - hair));
}

} // namespace

ProbeMotion::ProbeMotion(Shape const& newShape, Sweep const& newSweep)
    : shape(newShape),
      sweep(newSweep),
      low(sweep.from.value_or(Place{shape.low().u - sweep.overrun, shape.low().v - sweep.overrun})),
      high(sweep.to.value_or(Place{shape.high().u + sweep.overrun, shape.high().v + sweep.overrun})),
      shotIntervals(intervalsIn(high.u - low.u, sweep.step)),
      lines(intervalsIn(high.v - low.v, sweep.lineSpacing) + 1) {
    high.u = low.u + static_cast<double>(shotIntervals) * sweep.step;
}

double ProbeMotion::duration() const {
    double const between = sweep.lineSpacing * static_cast<double>(lines - 1);
    return (lineLength() * static_cast<double>(lines) + between) / sweep.speed;
}

Place ProbeMotion::startOf(std::size_t line) const {
    return {line % 2 == 0 ? low.u : high.u, low.v + static_cast<double>(line) * sweep.lineSpacing};
}

Place ProbeMotion::endOf(std::size_t line) const {
    return {line % 2 == 0 ? high.u : low.u, startOf(line).v};
}

Pose ProbeMotion::at(double time) const {
    double const perLine = lineLength() + sweep.lineSpacing;
    double const way = std::max(0.0, time * sweep.speed);
    auto const line = std::min(lines - 1, static_cast<std::size_t>(way / perLine));
    double const onLine = way - static_cast<double>(line) * perLine;
    double const along = std::min(onLine, lineLength());
    double const across = line + 1 < lines ? onLine - along : 0.0;
    Place const start = startOf(line);
    double const u = line % 2 == 0 ? start.u + along : start.u - along;
    return {time, line, poseOver({u, start.v + across})};
}

std::vector<Pose> ProbeMotion::lattice() const {
    std::vector<Pose> poses;
    poses.reserve(lines * (shotIntervals + 1));
    for (std::size_t line = 0; line < lines; ++line) {
        for (std::size_t i = 0; i <= shotIntervals; ++i) {
            std::size_t const k = line % 2 == 0 ? i : shotIntervals - i;
            double const u = low.u + static_cast<double>(k) * sweep.step;
            double const perLine = lineLength() + sweep.lineSpacing;
            double const time =
                (static_cast<double>(line) * perLine + std::abs(u - startOf(line).u)) / sweep.speed;
            poses.push_back({time, line, poseOver({u, startOf(line).v})});
        }
    }
    return poses;
}

RigidMotion ProbeMotion::poseOver(Place const& place) const {
    SurfacePoint const under = shape.at(place);
    double const tilt = sweep.wobble * std::numbers::pi / 180.0 *
                        std::sin(2.0 * std::numbers::pi * (place.u + 0.3 * place.v) / wobbleLength);
    Vector const direction = under.normal * -std::cos(tilt) + under.alongU * std::sin(tilt);
    return {rotationTo(direction, under.alongU), under.point - direction * sweep.standoff};
}

} // namespace QELT::Simulation
