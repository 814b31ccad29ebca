#pragma once

#include <numbers>

/// Angles are radians throughout; these convert and compare them.
namespace QELT::Geometry::Angles {

/// A full turn in radians, 2 pi.
inline constexpr double fullTurn = 2.0 * std::numbers::pi;

/// A right angle in radians.
inline constexpr double quarterTurn = fullTurn * 0.25;

inline constexpr double fullTurnInDegrees = 360.0;

/// Degrees in radians.
constexpr double degToRad(double degrees) {
    return degrees * fullTurn / fullTurnInDegrees;
}

/// Radians in degrees.
constexpr double radToDeg(double radians) {
    return radians * fullTurnInDegrees / fullTurn;
}

} // namespace QELT::Geometry::Angles
