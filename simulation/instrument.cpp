// Simulated echoes: amplitudes and times of flight of a beam on a part with flat reflectors below its
// surface.
//
// A beam meets the front surface on its axis. A flaw's echo is the beam's sensitivity, a Gaussian across the
// axis that has fallen by half at half the beam's diameter, integrated over the flaw; the back wall answers
// with what the flaws leave of the beam. A flaw with a straight edge under the axis so gives half, -6.02 dB,
// and a small one the share of its area. Both fall by so many dB for each square degree off head-on. Lengths
// on a curved surface are laid into the tangent plane at the flaw's centre along shortest ways; over a beam
// of a few millimetres on a radius of 50 mm the plane and the surface differ by less than a part in a
// thousand. Left out are refraction, diffraction, the spreading of the beam with depth, and echoes between
// flaws.
//
// The integral over an ellipse goes around its outline: as seen from the axis, a narrow sector out to a
// distance r takes 1 - exp(-k r^2) of its share of the circle, so the whole is the integral of that over the
// angle, which the outline runs through once if the axis is inside, and to and fro if not. The integrand is
// smooth and periodic, for which the plain sum converges faster than any power; a dozen steps a beam's
// diameter leave 1e-9. It costs some hundred exponentials for each flaw near the beam.

#include "simulation/instrument.h"

#include "simulation/rigidmotion.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace QELT::Simulation {

namespace {

constexpr double pi = std::numbers::pi;
/// Of the sum around an ellipse.
constexpr int fewestSteps = 64;
constexpr double stepsPerBeam = 12.0;

/// Beyond so many diameters a beam is not felt: less than 1e-10 of it.
constexpr double reachInDiameters = 3.0;

double factorOf(double decibel) {
    return std::pow(10.0, decibel / 20.0);
}

/// The share of the flaw in the beam at `contact`.
double shareOf(PlacedFlaw const& placed, Shape const& shape, Contact const& contact, double beamDiameter) {
    double const reach =
        std::max(placed.flaw.halfLength, placed.flaw.halfWidth) + reachInDiameters * beamDiameter;
    if ((contact.point - placed.centre.point).lSqr() > reach * reach) {
        return 0.0;
    }
    Vector const way = shape.way(placed.centre, contact.point);
    Vector const shortAxis = placed.centre.normal.cross(placed.longAxis);
    return responseOf(placed.flaw.halfLength, placed.flaw.halfWidth, way.dot(placed.longAxis),
                      way.dot(shortAxis), beamDiameter);
}

struct Echo {
    double amplitude = 0.0;
    double depth = 0.0;
};

/// The flaws' echoes and, last, the back wall's, without what the instrument does to them.
std::vector<Echo> echoesOf(Instrument const& instrument, Shape const& shape,
                           std::vector<PlacedFlaw> const& flaws, Contact const& contact) {
    std::vector<Echo> echoes;
    double left = 1.0;
    for (PlacedFlaw const& placed : flaws) {
        double const share = shareOf(placed, shape, contact, instrument.beamDiameter);
        left *= 1.0 - placed.flaw.shadow * share;
        if (placed.flaw.echo * share > 0.0) {
            echoes.push_back({instrument.reflector * placed.flaw.echo * share, placed.flaw.depth});
        }
    }
    echoes.push_back({instrument.backWall * left, instrument.thickness});
    return echoes;
}

/// As the instrument reports it; nothing if it is too quiet.
std::optional<double> reported(Instrument const& instrument, double amplitude) {
    double const read = std::min(amplitude, instrument.ceiling);
    return read > 0.0 && read >= instrument.noEchoBelow ? std::optional(read) : std::nullopt;
}

} // namespace

PlacedFlaw placedOn(Shape const& shape, Flaw const& flaw) {
    PlacedFlaw placed{flaw, shape.at(flaw.centre), {}, shape.areaOfEllipse(flaw.halfLength, flaw.halfWidth)};
    double const turn = flaw.turn * pi / 180.0;
    placed.longAxis = placed.centre.alongU * std::cos(turn) +
                      placed.centre.normal.cross(placed.centre.alongU) * std::sin(turn);
    return placed;
}

double responseOf(double a, double b, double x, double y, double beamDiameter) {
    double const fall = 4.0 * std::numbers::ln2 / (beamDiameter * beamDiameter);
    double const around = 2.0 * pi * std::max(a, b);
    int const steps =
        std::max(fewestSteps, static_cast<int>(std::ceil(stepsPerBeam * around / beamDiameter)));
    double sum = 0.0;
    for (int i = 0; i < steps; ++i) {
        double const angle = 2.0 * pi * i / steps;
        double const c = std::cos(angle);
        double const s = std::sin(angle);
        double const fromAxisX = a * c - x;
        double const fromAxisY = b * s - y;
        double const distanceSqr = fromAxisX * fromAxisX + fromAxisY * fromAxisY;
        double const share = distanceSqr > 0.0 ? -std::expm1(-fall * distanceSqr) / distanceSqr : fall;
        sum += share * (fromAxisX * b * c + fromAxisY * a * s);
    }
    return std::max(0.0, sum / steps);
}

double timeThereAndBack(double length, double speed) {
    constexpr double microsecondsPerMillisecond = 1000.0;
    return 2.0 * length / speed * microsecondsPerMillisecond;
}

Reading read(Instrument const& instrument, Shape const& shape, std::vector<PlacedFlaw> const& flaws,
             Vector const& origin, Vector const& direction, RandomNoise& noise) {
    double const frontError = instrument.frontNoise * noise.bell();
    double const gateNoise = factorOf(instrument.noise * noise.bell());
    double const backWallNoise = factorOf(instrument.noise * noise.bell());
    auto const contact = shape.meet(origin, direction);
    if (!contact) {
        return {};
    }
    double const degrees = std::acos(std::clamp(-direction.dot(contact->normal), -1.0, 1.0)) * 180.0 / pi;
    double const kept = factorOf(-instrument.tiltLoss * degrees * degrees);
    auto const echoes = echoesOf(instrument, shape, flaws, *contact);
    Reading reading;
    reading.front = timeThereAndBack(contact->distance + frontError, instrument.couplantSpeed);
    reading.backWall = reported(instrument, echoes.back().amplitude * kept * backWallNoise);
    Echo strongest;
    for (Echo const& echo : echoes) {
        bool const isInGate = echo.depth >= instrument.gateFrom && echo.depth <= instrument.gateTo;
        if (isInGate && echo.amplitude > strongest.amplitude) {
            strongest = echo;
        }
    }
    reading.amplitude = reported(instrument, strongest.amplitude * kept * gateNoise);
    if (reading.amplitude) {
        double const start = instrument.zero == TimeZero::Firing ? *reading.front : 0.0;
        reading.tof = start + timeThereAndBack(strongest.depth, instrument.speed);
    }
    return reading;
}

} // namespace QELT::Simulation
