#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commands/commandline.h"
#include "apps/cscan/commandline/commandparsers.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <memory>

namespace cscan {

namespace {

constexpr unsigned long mostLines = 1000000;
constexpr unsigned long mostElements = 1024;
constexpr double largestIndex = 1e6;

struct RawSelftest {
    SelftestOptions options;
    std::string lines = "100";
    std::string elements = "16";
    std::string pitch;
    std::string seed = "1";
};

SelftestOptions checkedSelftest(RawSelftest const& raw) {
    SelftestOptions options = raw.options;
    options.lineCount = wholeNumberFor("--lines", raw.lines, 1, mostLines);
    options.elementCount = wholeNumberFor("--elements", raw.elements, 1, mostElements);
    options.seed = static_cast<std::uint32_t>(wholeNumberFor("--seed", raw.seed));
    if (!raw.pitch.empty()) {
        options.pitch = positiveNumberFor("--pitch", raw.pitch);
    }
    return options;
}

Command addSelftest(CLI::App& app) {
    auto const raw = std::make_shared<RawSelftest>();
    CLI::App* const test = app.add_subcommand(
        "selftest", "Test a grid's search: move an array of beams along random lines, each at a known quad");
    test->add_option("GRID", raw->options.grid, "Grid of the part, a .quads file")->required();
    test->add_option("--lines", raw->lines, "How many lines")->type_name("N")->capture_default_str();
    test->add_option("--elements", raw->elements, "Beams of the array")
        ->type_name("N")
        ->capture_default_str();
    test->add_option("--pitch", raw->pitch, "Between two beams; the side of the smallest quad if not given")
        ->type_name("P");
    test->add_option("--seed", raw->seed, "Choice of the lines")->type_name("N")->capture_default_str();
    return {test, [raw] { return checkedSelftest(*raw); }};
}

struct RawDerive {
    DeriveOptions options;
    bool doFlatten = false;
    std::string normalise;
    std::string subsample;
    std::string factor;
    std::string restriction;
    std::string mirror;
    std::string along = "u";
    std::string scale;
};

RestrictGrid restrictionFor(std::string const& text) {
    auto const numbers = wholeNumbersFor("--restrict", text, "U0,V0,U1,V1");
    RestrictGrid const result{GridIndex(numbers[0], numbers[1]), GridIndex(numbers[2], numbers[3])};
    for (int const number : numbers) {
        if (std::abs(static_cast<double>(number)) > largestIndex) {
            throw UsageError("--restrict: '" + text + "' reaches too far out");
        }
    }
    if (numbers[2] <= numbers[0] || numbers[3] <= numbers[1]) {
        throw UsageError("--restrict: '" + text + "' is a box without extent");
    }
    return result;
}

MirrorGrid mirrorFor(std::string const& plane, std::string const& along) {
    using namespace QELT::Geometry::ThreeDimensional::QuadMesh;
    return {plane == "yz" ? PlaneYZ : plane == "xz" ? PlaneXZ : PlaneXY, along == "u" ? AxisU : AxisV};
}

double scaleFor(std::string const& text) {
    double const scale = numberFor("--scale", text);
    if (scale == 0.0) {
        throw UsageError("--scale: '" + text + "' leaves no surface");
    }
    return scale;
}

DeriveOptions checkedDerive(RawDerive const& raw) {
    std::vector<Derivation> asked;
    if (raw.doFlatten) {
        asked.emplace_back(FlattenGrid{});
    }
    if (!raw.normalise.empty()) {
        asked.emplace_back(NormaliseGrid{positiveNumberFor("--normalise", raw.normalise)});
    }
    if (!raw.subsample.empty()) {
        asked.emplace_back(ThinOutGrid{false, wholeNumberFor("--subsample", raw.subsample, 1)});
    }
    if (!raw.factor.empty()) {
        asked.emplace_back(ThinOutGrid{true, wholeNumberFor("--factor", raw.factor, 1)});
    }
    if (!raw.restriction.empty()) {
        asked.emplace_back(restrictionFor(raw.restriction));
    }
    if (!raw.mirror.empty()) {
        asked.emplace_back(mirrorFor(raw.mirror, raw.along));
    }
    if (!raw.scale.empty()) {
        asked.emplace_back(ScaleGrid{scaleFor(raw.scale)});
    }
    if (asked.size() != 1) {
        throw UsageError("derive: exactly one of --flatten, --normalise, --subsample, --factor, --restrict, "
                         "--mirror and --scale is required");
    }
    DeriveOptions options = raw.options;
    options.derivation = asked[0];
    return options;
}

Command addDerive(CLI::App& app) {
    auto const raw = std::make_shared<RawDerive>();
    CLI::App* const derive =
        app.add_subcommand("derive", "Make another grid of a grid, in one of these ways");
    derive->add_option("IN", raw->options.source, "Grid to start from, a .quads file")->required();
    derive->add_option("OUT", raw->options.result, "Grid to write, a .quads file")->required();
    derive->add_flag("--flatten", raw->doFlatten, "Roll it out into a plane of equal quads");
    derive->add_option("--normalise", raw->normalise, "Centre it on the origin and bring it to this size")
        ->type_name("SIZE");
    derive->add_option("--subsample", raw->subsample, "Thin it out to at most so many quads")->type_name("N");
    derive->add_option("--factor", raw->factor, "Take every so manieth node")->type_name("K");
    derive
        ->add_option("--restrict", raw->restriction, "Take the nodes of a box of indices, both ends included")
        ->type_name("U0,V0,U1,V1");
    CLI::Option* const mirror =
        derive->add_option("--mirror", raw->mirror, "Reflect it through a coordinate plane")
            ->check(CLI::IsMember({"yz", "xz", "xy"}))
            ->type_name("PLANE");
    derive
        ->add_option(
            "--along", raw->along,
            "Which nodes the mirror reverses, so that the outside stays outside: columns (u) or rows (v)")
        ->check(CLI::IsMember({"u", "v"}))
        ->capture_default_str()
        ->needs(mirror);
    derive->add_option("--scale", raw->scale, "Scale it about the origin")->type_name("S");
    return {derive, [raw] { return checkedDerive(*raw); }};
}

struct RawFootprint {
    FootprintOptions options;
    std::string origin;
    std::string axisA;
    std::string axisB;
    std::string cotangent;
    std::string aperture;
};

/// How far two axes of unit length may be from a right angle, as a cosine.
constexpr double rightAngleTolerance = 1e-6;

FootprintOptions checkedFootprint(RawFootprint const& raw) {
    FootprintOptions options = raw.options;
    Vector const axisA = directionFor("--axis-a", raw.axisA);
    Vector const axisB = directionFor("--axis-b", raw.axisB);
    options.beam.origin = pointFor("--origin", raw.origin);
    options.beam.axisA = axisA / std::sqrt(axisA.lSqr());
    options.beam.axisB = axisB / std::sqrt(axisB.lSqr());
    options.beam.cotangent = positiveNumberFor("--cotangent", raw.cotangent);
    options.beam.apertureRadius = nonNegativeNumberFor("--aperture", raw.aperture);
    if (!(std::abs(options.beam.axisA.dot(options.beam.axisB)) < rightAngleTolerance)) {
        throw UsageError("--axis-b: '" + raw.axisB + "' is not at a right angle to --axis-a");
    }
    return options;
}

Command addFootprint(CLI::App& app) {
    auto const raw = std::make_shared<RawFootprint>();
    CLI::App* const footprint =
        app.add_subcommand("footprint", "Draw what a spreading beam covers of a grid, to first order");
    footprint->add_option("GRID", raw->options.grid, "Grid of the part, a .quads file")->required();
    footprint->add_option("--origin", raw->origin, "Where the beam starts")->type_name("X,Y,Z")->required();
    footprint->add_option("--axis-a", raw->axisA, "First axis of the beam's cross-section")
        ->type_name("X,Y,Z")
        ->required();
    footprint
        ->add_option("--axis-b", raw->axisB,
                     "Second axis, at a right angle to the first; the beam goes along A x B")
        ->type_name("X,Y,Z")
        ->required();
    footprint->add_option("--cotangent", raw->cotangent, "Cotangent of the angle by which the beam spreads")
        ->type_name("C")
        ->required();
    footprint->add_option("--aperture", raw->aperture, "Radius of the beam where it starts")
        ->type_name("R")
        ->required();
    footprint->add_option("--image", raw->options.image, "Picture to write")->type_name("PNG")->required();
    raw->options.unit = "units";
    footprint->add_option("--unit", raw->options.unit, "The part's unit of length, for the labels")
        ->type_name("NAME")
        ->capture_default_str();
    return {footprint, [raw] { return checkedFootprint(*raw); }};
}

} // namespace

std::vector<Command> addGridCommands(CLI::App& app) {
    return {addSelftest(app), addDerive(app), addFootprint(app)};
}

} // namespace cscan
