#pragma once

#include "Inspection/scanning/beam.h"
#include "simulation/instrument.h"
#include "simulation/probe.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// Simulated measurements. Everything is in the part's own coordinates; `tables.h` writes it as a robot's
/// cell would.
namespace QELT::Simulation {

/// What is left out of a measurement as if it had got lost.
struct Dropouts {
    struct Patch {
        Place centre;
        double radius = 2.5; ///< mm along the surface from its centre to where the beams meet it
    };

    std::vector<std::size_t> lines; ///< of the sweep, from 0
    std::optional<Patch> patch;
    double share = 0.0; ///< of all shots, at random
};

/// The clocks of a robot that tells its poses and of an instrument that tells its readings. A shot at an
/// instant is stamped later by the lag on the instrument's clock.
struct Clocks {
    double poseRate = 83.0;   ///< Hz
    double shotRate = 1000.0; ///< Hz
    double lag = 0.0;         ///< ms
    double jitter = 0.0;      ///< standard deviation of a pose's stamp, ms
};

/// All there is to know about a simulated measurement.
struct Case {
    std::string name; ///< of the part
    std::shared_ptr<Shape const> shape;
    double meshSide = 1.0; ///< of the part's triangles, mm
    std::vector<Flaw> flaws;
    Instrument instrument;
    Sweep sweep;
    Dropouts dropouts;
    std::optional<Clocks> clocks; ///< without them every shot has a pose of its own
    std::uint32_t seed = 20250303U;
};

/// The built-in cases: "cylinder", "cap" and "blade". Fails for another name.
Case caseOf(std::string const& name);
std::vector<std::string> caseNames();

/// A shot: the pose that the probe really had and what the instrument read.
struct Shot {
    double stamp = 0.0; ///< seconds on the instrument's clock
    Pose pose;
    Reading reading;
};

/// As the scanning functions take it.
Inspection::Beam beamOf(Shot const& shot);

/// A line of shots that all got lost: its first and its last pose.
struct LostLine {
    std::size_t line = 0;
    Pose first;
    Pose last;
};

struct Measurement {
    std::vector<PlacedFlaw> flaws;
    std::vector<Shot> shots; ///< those that did not get lost
    std::vector<Pose> poses; ///< as the robot stamps them; empty with one clock
    std::size_t lineCount = 0;
    std::size_t droppedCount = 0; ///< shots that got lost
    std::vector<LostLine> lostLines;
};

/// Sweeps the part. The same setup gives the same measurement, and what got lost changes no other reading.
Measurement measure(Case const& setup);

/// Fires at given poses instead of a sweep.
Measurement measureAt(Case const& setup, std::vector<Pose> const& poses);

} // namespace QELT::Simulation
