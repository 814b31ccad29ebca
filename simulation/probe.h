#pragma once

#include "simulation/rigidmotion.h"
#include "simulation/shape.h"

#include <optional>
#include <vector>

namespace QELT::Simulation {

/// How a probe is moved over a shape: to and fro along lines of constant v, at a constant speed in the
/// shape's own coordinates, looking against the normal from a constant distance.
struct Sweep {
    double step = 1.0;         ///< between shots along a line, mm
    double lineSpacing = 1.0;  ///< mm
    double standoff = 20.0;    ///< mm of couplant
    double overrun = 3.0;      ///< beyond the part on all sides, mm
    double speed = 100.0;      ///< mm/s
    double wobble = 0.0;       ///< the greatest angle off the normal, degrees; it swings along the line
    std::optional<Place> from; ///< sweep this box of coordinates instead of the part's and its overrun
    std::optional<Place> to;
};

/// Where the probe is at an instant: what takes its own coordinates to the part's. The beam leaves the
/// probe's origin along its z axis; its x axis follows u.
struct Pose {
    double time = 0.0; ///< seconds
    std::size_t line = 0;
    RigidMotion probe;

    Vector beam() const { return probe.rotation.z; }
};

/// A sweep as a function of time.
class ProbeMotion {
public:
    /// Both outlive the motion.
    ProbeMotion(Shape const& newShape, Sweep const& newSweep);

    std::size_t lineCount() const { return lines; }

    /// Seconds until the end of the last line.
    double duration() const;

    /// The ends of a line, in the direction in which it is run.
    Place startOf(std::size_t line) const;
    Place endOf(std::size_t line) const;

    Pose at(double time) const;

    /// The poses at which shots lie on a lattice: on every line the same multiples of the step.
    std::vector<Pose> lattice() const;

private:
    Shape const& shape;
    Sweep const& sweep;
    Place low;
    Place high;
    std::size_t shotIntervals; ///< on a line, which is as long as they make it
    std::size_t lines;

    double lineLength() const { return high.u - low.u; }

    RigidMotion poseOver(Place const& place) const;
};

} // namespace QELT::Simulation
