#pragma once

#include "Inspection/export.h"
#include "Inspection/frames/turn.h"
#include "Inspection/names.h"
#include "Inspection/results/coverage.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

/// Paths of a probe over a part's grid.
namespace QELT::Inspection {

/// Which way the lines of a path run on the grid.
enum class PathAxis : std::uint8_t { AlongU, AlongV };

/// How a path is laid. Lengths are in the part's unit, along the surface where there is one.
struct PathSettings {
    double step = 1.0;      ///< at most, between shots along a line
    double standoff = 20.0; ///< from the surface to the probe
    PathAxis along = PathAxis::AlongU;
    std::optional<double> footprint; ///< diameter of what a shot covers; one and a half steps if not told
    std::optional<double> overlap;   ///< of neighbouring lines' footprints, 0 to below 1; sets their spacing
    double overshoot = 0.0;          ///< how far lines go on past the part, from rim instead of margin
    std::optional<double> margin;    ///< from the rim to the first line and shot; half a spacing if not told
    std::optional<double> lift;      ///< how far the probe is lifted between runs, if it is
    std::optional<double> speed;     ///< along the way, in the part's unit a second
    double sharpAngle = 20.0;        ///< degrees between the normals of a footprint's sides from which on it
                                     ///< is told as a sharp edge
    bool doFlipNormals = false;      ///< take the grid's other side for the outside

    /// The diameter of what a shot covers, as asked for or by the step.
    double footprintDiameter() const { return footprint.value_or(1.5 * step); }

    /// The largest distance between neighbouring lines on the surface.
    double lineSpacing() const { return overlap ? footprintDiameter() * (1.0 - *overlap) : step; }

    /// How far shots stay off the rim, as asked for or half a line.
    double rimMargin() const { return margin.value_or(0.5 * lineSpacing()); }
};

/// A place of the probe on its path.
struct PathPose {
    /// What it does there.
    enum Kind : int {
        Scan,      ///< over the surface
        Overshoot, ///< past the end of a line, where nothing is met
        Lift,      ///< a point on the way between two runs, where there is nothing to be shot
    };

    Kind kind = Scan;
    std::size_t line = 0; ///< of constant v, or u, from 0
    std::size_t run = 0;  ///< an uninterrupted piece of a line, counted over the whole path
    Vector foot;          ///< the place on the surface, in the grid's coordinates
    Vector position;      ///< of the probe
    Vector direction;     ///< of the beam, of unit length: against the normal, smoothed over the footprint
    Turn turn;            ///< of the probe: its z axis along the beam, its x axis along the grid's
    double way = 0.0;     ///< of the foot from the first pose, along the path
    std::size_t u = 0;    ///< the quad of the foot
    std::size_t v = 0;
    FlatPoint at; ///< the foot's place on the grid, in quads; past a line's end, where the line leads on
};

/// Where the surface turns within a footprint.
struct SharpPlace {
    Vector place;
    double angle = 0.0;        ///< the greatest there, degrees between the normals of the footprint's sides
    std::size_t poseCount = 0; ///< poses that are neighbours on it
    FlatPoint at;              ///< on the grid, in quads
};

/// The poses of a probe, in order.
struct Path {
    std::vector<PathPose> poses;
    std::size_t lineCount = 0;
    std::size_t runCount = 0;
    double widestStep = 0.0;             ///< between shots of a run, along the surface
    double widestSpacing = 0.0;          ///< between neighbouring lines, along the surface
    double length = 0.0;                 ///< the way of the last pose
    std::vector<SharpPlace> sharpPlaces; ///< the sharpest first
};

/// Lines of constant v (or u), to and fro, from rim to rim. Neighbouring lines are nowhere farther apart on
/// the surface than the spacing, and evenly so; a line is cut into runs where there is no surface. The
/// probe's x axis follows the grid on lines in both directions, so that it never turns over. Quads with
/// corners that hold no numbers count as holes. Fails if the grid has
/// an offset or no quads, if a setting makes no sense,
/// and if the path would have more than 10 million poses.
QELT_INSPECTION_EXPORT Path pathOver(Grid const& grid, PathSettings const& settings);

/// What comes of a pose that is fired.
enum class PoseFate : std::uint8_t {
    NotFired, ///< not over the surface
    Met,      ///< its place
    Missed,   ///< the part
    Blocked,  ///< by something of the part before its place
};

/// What comes of a path when every pose is fired at the grid.
struct PathCheck {
    std::vector<PoseFate> fates;  ///< of all poses
    Result pixels;                ///< the grid's; those that a footprint covers are as if they held an echo
    Coverage coverage;            ///< by the footprints of the shots that met their place
    std::size_t shotCount = 0;    ///< of poses over the surface
    std::size_t missedCount = 0;  ///< of these, met nothing
    std::size_t blockedCount = 0; ///< of these, met the part before their place: the probe is inside the
                                  ///< part, or behind another face of it
    Vector firstMissed;           ///< places of the feet, if there are any
    Vector firstBlocked;
    double largestAngle = 0.0; ///< degrees off head-on, of shots that met their place
    Vector largestAnglePlace;
    std::size_t largestAnglePose = 0;
};

/// Fires the path at the grid and measures what it covers. The listener, which may be null, may stop it.
QELT_INSPECTION_EXPORT PathCheck checkPath(Grid const& grid, Path const& path, PathSettings const& settings,
                                           ProgressListener* listener = nullptr);

} // namespace QELT::Inspection
