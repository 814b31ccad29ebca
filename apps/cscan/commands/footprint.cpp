#include "Inspection/pictures/footprintpicture.h"
#include "Inspection/records/numbers.h"
#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commandline/partoptions.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/report.h"

#include <array>
#include <cmath>
#include <memory>
#include <ostream>

namespace cscan {

namespace {

/// How far two axes of unit length may be from a right angle, as a cosine.
constexpr double rightAngleTolerance = 1e-6;

std::string pairText(double u, double v) {
    return "(" + toFixedText(u, 3) + ", " + toFixedText(v, 3) + ")";
}

void printFootprint(std::ostream& output, FootprintOptions const& options, Footprint const& footprint) {
    constexpr std::array<char const*, 4> names{"half-axis along A", "half-axis along B",
                                               "half-axis against A", "half-axis against B"};
    printItem(output, "quad",
              "(" + std::to_string(footprint.quad.getU()) + ", " + std::to_string(footprint.quad.getV()) +
                  ")");
    printItem(output, "centre in quads", pairText(footprint.centre.getU(), footprint.centre.getV()));
    for (std::size_t i = 0; i < names.size(); ++i) {
        auto const axis = footprint.ends[i] - footprint.centre;
        printItem(output, names.at(i), pairText(axis.getdU(), axis.getdV()));
    }
    printItem(output, "image", options.image.string());
}

Vector unitDirectionIn(std::string_view text) {
    Vector const direction = directionIn(text);
    return direction / std::sqrt(direction.lSqr());
}

void addBeamOptions(CLI::App& footprint, SpreadingBeam& beam) {
    footprint.add_option("--origin", "Where the beam starts")
        ->check(reading(beam.origin, pointIn))
        ->type_name("X,Y,Z")
        ->required();
    footprint.add_option("--axis-a", "First axis of the beam's cross-section")
        ->check(reading(beam.axisA, unitDirectionIn))
        ->type_name("X,Y,Z")
        ->required();
    footprint.add_option("--axis-b", "Second axis, at a right angle to the first; the beam goes along A x B")
        ->check(reading(beam.axisB, unitDirectionIn))
        ->type_name("X,Y,Z")
        ->required();
    footprint.add_option("--cotangent", "Cotangent of the angle by which the beam spreads")
        ->check(reading(beam.cotangent, positiveNumberIn))
        ->type_name("C")
        ->required();
    footprint.add_option("--aperture", "Radius of the beam where it starts")
        ->check(reading(beam.apertureRadius, nonNegativeNumberIn))
        ->type_name("R")
        ->required();
}

} // namespace

Command addFootprint(CLI::App& app) {
    auto const options = std::make_shared<FootprintOptions>();
    CLI::App* const footprint =
        addCommand(app, "footprint", "Draw what a spreading beam covers of a grid, to first order");
    footprint->add_option("GRID", options->grid, "Grid of the part, a .quads file")->required();
    addBeamOptions(*footprint, options->beam);
    addFrameOption(*footprint, options->frame, "takes the beam to the part's coordinates");
    footprint->add_option("--image", options->image, "Picture to write")->type_name("PNG")->required();
    footprint
        ->add_option(
            "--unit", options->unit,
            "The part's unit of length, for the labels; if not given, the one that the grid's record names")
        ->type_name("NAME");
    auto const read = [options, footprint] {
        if (!(std::abs(options->beam.axisA.dot(options->beam.axisB)) < rightAngleTolerance)) {
            throw UsageError("--axis-b: '" + footprint->get_option("--axis-b")->results().at(0) +
                             "' is not at a right angle to --axis-a");
        }
        return *options;
    };
    return commandOf(footprint, read, drawFootprint, printFootprint);
}

} // namespace cscan
