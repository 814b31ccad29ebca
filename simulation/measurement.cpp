#include "simulation/measurement.h"

#include "Inspection/records/failure.h"

#include <algorithm>
#include <cmath>

namespace QELT::Simulation {

namespace {

/// So that readings, losses and stamps draw from chances of their own.
constexpr std::uint32_t lossSeed = 1;
constexpr std::uint32_t clockSeed = 2;

constexpr double secondsPerMillisecond = 1e-3;

/// The share of a period by which a stamp may be off at most: stamps keep their order.
constexpr double widestJitter = 0.45;

/// Discs on the unrolled cylinder: five equal ones that echo, one that only takes the back wall's echo away,
/// and one below the beam's width.
Case cylinderCase() {
    Case setup;
    setup.shape = makeCylinder({});
    setup.flaws = {{"disc 1", {-200.0, -20.0}, 4.0, 4.0, 0.0, 4.0},
                   {"disc 2", {-100.0, 10.0}, 4.0, 4.0, 0.0, 4.0},
                   {"disc 3", {0.0, 0.0}, 4.0, 4.0, 0.0, 4.0},
                   {"disc 4", {100.0, -10.0}, 4.0, 4.0, 0.0, 4.0},
                   {"disc 5", {200.0, 20.0}, 4.0, 4.0, 0.0, 4.0},
                   {"lost echo", {50.0, 25.0}, 4.0, 4.0, 0.0, 6.0, 0.0, 1.0},
                   {"below the beam", {150.0, -25.0}, 0.75, 0.75, 0.0, 3.0}};
    return setup;
}

/// Discs of equal area at growing distances from the pole, where a flat map stretches them differently.
Case capCase() {
    Case setup;
    setup.shape = makeCap({});
    double const degree = 50.0 * std::acos(-1.0) / 180.0; // in mm from the pole
    setup.flaws = {{"disc at the pole", {0.0, 0.0}, 4.0, 4.0, 0.0, 4.0},
                   {"disc at 20 degrees", {20.0 * degree, 0.0}, 4.0, 4.0, 0.0, 4.0},
                   {"disc at 35 degrees", {0.0, 35.0 * degree}, 4.0, 4.0, 0.0, 4.0},
                   {"disc at 50 degrees", {-50.0 * degree, 0.0}, 4.0, 4.0, 0.0, 4.0}};
    return setup;
}

/// Three hidden flaws in four millimetres of blade.
Case bladeCase() {
    Case setup;
    setup.shape = makeBlade();
    setup.instrument.thickness = 4.0;
    setup.instrument.beamDiameter = 1.5;
    setup.sweep.step = 0.5;
    setup.sweep.lineSpacing = 0.5;
    setup.flaws = {{"disc", {-14.0, -5.0}, 2.5, 2.5, 0.0, 2.0},
                   {"ellipse", {12.0, 25.0}, 4.0, 2.0, 30.0, 1.2},
                   {"lost echo", {-8.0, -38.0}, 3.0, 3.0, 0.0, 3.0, 0.0, 1.0}};
    return setup;
}

/// Whether a shot at this pose gets lost. Draws one number whatever the pose.
class Losses {
public:
    explicit Losses(Case const& newCase) : setup(newCase), chance(newCase.seed + lossSeed) {
        if (setup.dropouts.patch) {
            centre = setup.shape->at(setup.dropouts.patch->centre);
        }
    }

    bool doesLose(Pose const& pose) {
        bool const isUnlucky = chance.even() + 0.5 < setup.dropouts.share;
        return isUnlucky || isOnLostLine(pose) || isInPatch(pose);
    }

    bool isOnLostLine(Pose const& pose) const {
        auto const& lines = setup.dropouts.lines;
        return std::find(lines.begin(), lines.end(), pose.line) != lines.end();
    }

private:
    Case const& setup;
    RandomNoise chance;
    SurfacePoint centre;

    bool isInPatch(Pose const& pose) const {
        if (!setup.dropouts.patch) {
            return false;
        }
        auto const contact = setup.shape->meet(pose.probe.shift, pose.beam());
        double const radius = setup.dropouts.patch->radius;
        return contact && setup.shape->way(centre, contact->point).lSqr() <= radius * radius;
    }
};

/// The shots of a line come one after the other.
void addLost(std::vector<LostLine>& lines, Pose const& pose) {
    if (lines.empty() || lines.back().line != pose.line) {
        lines.push_back({pose.line, pose, pose});
    }
    lines.back().last = pose;
}

std::vector<Pose> posesAtRate(ProbeMotion const& motion, double rate) {
    auto const count = static_cast<std::size_t>(motion.duration() * rate) + 1;
    std::vector<Pose> poses;
    poses.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        poses.push_back(motion.at(static_cast<double>(i) / rate));
    }
    return poses;
}

/// The robot's stream, from a moment before the first shot to one after the last.
std::vector<Pose> stampedPoses(ProbeMotion const& motion, Clocks const& clocks, std::uint32_t seed) {
    RandomNoise noise(seed + clockSeed);
    double const widest = widestJitter / clocks.poseRate;
    auto poses = posesAtRate(motion, clocks.poseRate);
    for (Pose& pose : poses) {
        pose.time += std::clamp(clocks.jitter * secondsPerMillisecond * noise.bell(), -widest, widest);
    }
    return poses;
}

} // namespace

std::vector<std::string> caseNames() {
    return {"cylinder", "cap", "blade"};
}

Case caseOf(std::string const& name) {
    Inspection::require(name == "cylinder" || name == "cap" || name == "blade",
                        "there is no simulated case '" + name + "'; there are cylinder, cap and blade");
    Case setup = name == "cylinder" ? cylinderCase() : (name == "cap" ? capCase() : bladeCase());
    setup.name = name;
    return setup;
}

Inspection::Beam beamOf(Shot const& shot) {
    Vector const& origin = shot.pose.probe.shift;
    return {Point(origin.getdX(), origin.getdY(), origin.getdZ()), shot.pose.beam()};
}

Measurement measureAt(Case const& setup, std::vector<Pose> const& poses) {
    Measurement measurement;
    for (Flaw const& flaw : setup.flaws) {
        measurement.flaws.push_back(placedOn(*setup.shape, flaw));
    }
    double const lag = setup.clocks ? setup.clocks->lag * secondsPerMillisecond : 0.0;
    RandomNoise noise(setup.seed);
    Losses losses(setup);
    for (Pose const& pose : poses) {
        Reading const reading =
            read(setup.instrument, *setup.shape, measurement.flaws, pose.probe.shift, pose.beam(), noise);
        measurement.lineCount = std::max(measurement.lineCount, pose.line + 1);
        if (losses.doesLose(pose)) {
            ++measurement.droppedCount;
            if (losses.isOnLostLine(pose)) {
                addLost(measurement.lostLines, pose);
            }
        } else {
            measurement.shots.push_back({pose.time + lag, pose, reading});
        }
    }
    return measurement;
}

Measurement measure(Case const& setup) {
    ProbeMotion const motion(*setup.shape, setup.sweep);
    if (!setup.clocks) {
        return measureAt(setup, motion.lattice());
    }
    Measurement measurement = measureAt(setup, posesAtRate(motion, setup.clocks->shotRate));
    measurement.poses = stampedPoses(motion, *setup.clocks, setup.seed);
    return measurement;
}

} // namespace QELT::Simulation
