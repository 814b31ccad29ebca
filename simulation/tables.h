#pragma once

#include "simulation/measurement.h"

#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

/// Simulated measurements as the tables that come out of a cell.
namespace QELT::Simulation {

/// How a table tells a pose. Angles are degrees, a rotation vector is radians.
enum class Dialect {
    OriginDirection, ///< ox,oy,oz,dx,dy,dz of the beam
    Xyz,             ///< x,y,z of the beam's origin alone
    XyzZyx,          ///< x,y,z,a,b,c: a about z, b about the turned y, c about the twice turned x
    XyzXyz,          ///< x,y,z,rx,ry,rz about the fixed axes x, then y, then z
    RotationVector,  ///< x,y,z,rx,ry,rz: along the axis, as long as the angle
    QuaternionWxyz,  ///< x,y,z,qw,qx,qy,qz
    QuaternionXyzw,  ///< x,y,z,qx,qy,qz,qw
};

/// Every dialect and the name that the command line gives it, such as "xyz+zyx-deg".
std::vector<std::pair<Dialect, std::string>> const& dialects();
std::string nameOf(Dialect dialect);

/// What a cell makes of a pose. It tells where the flange is, in coordinates of its own.
struct Cell {
    RigidMotion frame; ///< takes the cell's coordinates to the part's
    RigidMotion tool;  ///< takes the probe's coordinates to the flange's
    Dialect dialect = Dialect::OriginDirection;
    bool hasDecimalCommas = false; ///< with semicolons between the fields
};

/// The flange's pose in the cell's coordinates for the probe's in the part's.
RigidMotion flangeOf(Cell const& cell, RigidMotion const& probe);

/// A line that says "simulated", the heading and a line a shot: its pose, then front[us], amplitude[%FSH],
/// tof[us] and backwall[%FSH], each empty where there was no echo. Fails if a tool is to be told in a dialect
/// without a rotation.
void writeShots(std::ostream& output, Measurement const& measurement, Cell const& cell);

/// The same in two tables for two clocks, each with t[s] in front.
void writePoses(std::ostream& output, Measurement const& measurement, Cell const& cell);
void writeReadings(std::ostream& output, Measurement const& measurement, Cell const& cell);

} // namespace QELT::Simulation
