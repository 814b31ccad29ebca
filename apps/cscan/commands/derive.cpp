#include "Inspection/grids/derive.h"
#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/report.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <ostream>

namespace cscan {

namespace {

using QELT::Geometry::ThreeDimensional::QuadMesh::CanonicalAxis;
using QELT::Geometry::ThreeDimensional::QuadMesh::CanonicalPlane;

constexpr double largestIndex = 1e6;

/// What CLI11 fills in. Of the derivations that options with a value ask for one is kept; there must be one
/// alone.
struct RawDerive {
    DeriveOptions options; ///< to flatten at first
    bool doFlatten = false;
    CanonicalAxis along = CanonicalAxis::AxisU;
    std::vector<CLI::Option*> choices;
};

NormaliseGrid normalisationIn(std::string_view text) {
    return {positiveNumberIn(text)};
}

ThinOutGrid quadCountIn(std::string_view text) {
    return {false, wholeNumberIn(text, 1)};
}

ThinOutGrid factorIn(std::string_view text) {
    return {true, wholeNumberIn(text, 1)};
}

RestrictGrid restrictionIn(std::string_view text) {
    auto const numbers = wholeNumbersIn(text, "U0,V0,U1,V1");
    for (int const number : numbers) {
        if (std::abs(static_cast<double>(number)) > largestIndex) {
            throw UsageError("'" + std::string(text) + "' reaches too far out");
        }
    }
    if (numbers[2] <= numbers[0] || numbers[3] <= numbers[1]) {
        throw UsageError("'" + std::string(text) + "' is a box without extent");
    }
    return {GridIndex(numbers[0], numbers[1]), GridIndex(numbers[2], numbers[3])};
}

MirrorGrid mirrorIn(std::string_view text) {
    std::map<std::string_view, CanonicalPlane> const planes{
        {"yz", CanonicalPlane::PlaneYZ}, {"xz", CanonicalPlane::PlaneXZ}, {"xy", CanonicalPlane::PlaneXY}};
    MirrorGrid mirror;
    mirror.plane = planes.at(text);
    return mirror;
}

ScaleGrid scaleIn(std::string_view text) {
    double const scale = numberIn(text);
    if (scale == 0.0) {
        throw UsageError("'" + std::string(text) + "' leaves no surface");
    }
    return {scale};
}

DeriveOptions optionsOf(RawDerive const& raw) {
    auto const isAsked = [](CLI::Option const* choice) { return choice->count() > 0; };
    auto const askedCount = std::count_if(raw.choices.begin(), raw.choices.end(), isAsked);
    if (askedCount + (raw.doFlatten ? 1 : 0) != 1) {
        throw UsageError("derive: exactly one of --flatten, --normalise, --subsample, --factor, --restrict, "
                         "--mirror and --scale is required");
    }
    DeriveOptions options = raw.options;
    if (auto* const mirror = std::get_if<MirrorGrid>(&options.derivation)) {
        mirror->axis = raw.along;
    }
    return options;
}

/// Offers a derivation with a value.
template <class Read>
CLI::Option* addChoice(CLI::App& derive, RawDerive& raw, std::string const& name,
                       std::string const& valueName, Read read, std::string const& description) {
    raw.choices.push_back(derive.add_option(name, description)->type_name(valueName));
    return raw.choices.back()->check(reading(raw.options.derivation, read));
}

void addMirrorOptions(CLI::App& derive, RawDerive& raw) {
    std::map<std::string, CanonicalAxis> const axes{{"u", CanonicalAxis::AxisU}, {"v", CanonicalAxis::AxisV}};
    CLI::Option* const mirror = derive.add_option("--mirror", "Reflect it through a coordinate plane");
    mirror->type_name("PLANE")
        ->check(CLI::IsMember({"yz", "xz", "xy"}))
        ->check(reading(raw.options.derivation, mirrorIn));
    raw.choices.push_back(mirror);
    derive
        .add_option(
            "--along",
            "Which nodes the mirror reverses, so that the outside stays outside: columns (u) or rows (v)")
        ->type_name("TEXT")
        ->check(CLI::IsMember({"u", "v"}))
        ->check(reading(raw.along, oneOf(axes)))
        ->default_str("u")
        ->needs(mirror);
}

void printDerive(std::ostream& output, DeriveOptions const& options, GridSummary const& grid) {
    output << options.result.string() << '\n';
    printGrid(output, grid);
}

} // namespace

Command addDerive(CLI::App& app) {
    auto const raw = std::make_shared<RawDerive>();
    CLI::App* const command = addCommand(app, "derive", "Make another grid of a grid, in one of these ways");
    command->add_option("IN", raw->options.source, "Grid to start from, a .quads file")->required();
    command->add_option("OUT", raw->options.result, "Grid to write, a .quads file")->required();
    command->add_flag("--flatten", raw->doFlatten, "Roll it out into a plane of equal quads");
    addChoice(*command, *raw, "--normalise", "SIZE", normalisationIn,
              "Centre it on the origin and bring it to this size");
    addChoice(*command, *raw, "--subsample", "N", quadCountIn, "Thin it out to at most so many quads");
    addChoice(*command, *raw, "--factor", "K", factorIn, "Take one node in K along each axis");
    addChoice(*command, *raw, "--restrict", "U0,V0,U1,V1", restrictionIn,
              "Take the nodes of a box of indices, both ends included");
    addMirrorOptions(*command, *raw);
    addChoice(*command, *raw, "--scale", "S", scaleIn, "Scale it about the origin");
    return commandOf(
        command, [raw] { return optionsOf(*raw); }, derive, printDerive);
}

} // namespace cscan
