#pragma once

#include "simulation/randomnoise.h"
#include "simulation/shape.h"

#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace QELT::Simulation {

/// A flat reflector below the surface, parallel to it: an ellipse about a place, measured along the surface.
struct Flaw {
    std::string name;
    Place centre;
    double halfLength = 3.0; ///< half axes in millimetres
    double halfWidth = 3.0;
    double turn = 0.0;  ///< degrees from the direction of u to the longer axis, about the normal
    double depth = 2.0; ///< below the surface, along its normal
    double echo = 1.0;  ///< what comes back of a beam that it fills, 0 to 1; with 0 it only takes echoes away
    double shadow = 1.0; ///< what it takes of the back wall's echo where it fills the beam, 0 to 1
};

/// A flaw at its place on a shape.
struct PlacedFlaw {
    Flaw flaw;
    SurfacePoint centre;
    Vector longAxis; ///< unit tangent
    double area = 0.0;
};

PlacedFlaw placedOn(Shape const& shape, Flaw const& flaw);

/// From what instant times of flight count.
enum class TimeZero { FrontWall, Firing };

/// A probe that is fired through a couplant at a part with parallel walls, and what reads the echoes.
struct Instrument {
    double beamDiameter = 3.0; ///< where a small reflector answers with half of what it gives on the axis, mm
    double backWall = 80.0;    ///< echo of the sound back wall, head-on, in percent of the full screen
    double reflector = 90.0;   ///< of a flaw that fills the beam, for an echo of 1
    double tiltLoss = 0.0;     ///< dB for each square degree off head-on
    double noise = 0.0;        ///< standard deviation of an echo's amplitude, dB
    double ceiling = 100.0;    ///< louder echoes read as this
    double noEchoBelow = 2.0;  ///< quieter ones are not reported
    double thickness = 10.0;   ///< of the part, mm
    double gateFrom = 0.0;     ///< depths in mm between which the strongest echo is read
    double gateTo = std::numeric_limits<double>::infinity();
    double speed = 2900.0;         ///< of sound in the part, m/s
    double couplantSpeed = 1480.0; ///< before it
    double frontNoise = 0.0;       ///< standard deviation of the way to the front wall as measured, mm
    TimeZero zero = TimeZero::FrontWall;
};

/// What one shot gives. Without a front wall there is nothing else.
struct Reading {
    std::optional<double> front;     ///< there and back through the couplant, microseconds
    std::optional<double> amplitude; ///< of the strongest echo in the gate, percent of the full screen
    std::optional<double> tof;       ///< its time of flight, microseconds
    std::optional<double> backWall;  ///< of the back wall, wherever the gate is
};

/// The share of a beam's response that an ellipse takes: the beam's profile, a Gaussian, integrated over it,
/// as a share of its integral over everything. `x` and `y` lead from the ellipse's centre to the beam's axis,
/// along its half axes `a` and `b`.
double responseOf(double a, double b, double x, double y, double beamDiameter);

/// There and back, in microseconds, over millimetres at metres per second.
double timeThereAndBack(double length, double speed);

/// The reading of a beam with a direction of unit length. Takes the same number of random numbers whatever it
/// meets.
Reading read(Instrument const& instrument, Shape const& shape, std::vector<PlacedFlaw> const& flaws,
             Vector const& origin, Vector const& direction, RandomNoise& noise);

} // namespace QELT::Simulation
