#include "Inspection/fits/surfacefits.h"
#include "Inspection/records/numbers.h"
#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commandline/partoptions.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/report.h"

#include <memory>
#include <ostream>

namespace cscan {

namespace {

constexpr int digits = 6;

std::string numberText(double number) {
    return toShortText(number, digits);
}

void printSurface(std::ostream& output, SphereFit const& fit) {
    printItem(output, "centre", pointText(fit.centre));
    printItem(output, "radius", numberText(fit.radius));
}

void printSurface(std::ostream& output, CylinderFit const& fit) {
    printItem(output, "axis point", pointText(fit.axisPoint));
    printItem(output, "axis direction", vectorText(fit.axisDirection));
    printItem(output, "radius", numberText(fit.radius));
}

void printSurface(std::ostream& output, ParaboloidFit const& fit) {
    printItem(output, "vertex", pointText(fit.vertex));
    printItem(output, "axis u", vectorText(fit.axisU));
    printItem(output, "axis v", vectorText(fit.axisV));
    printItem(output, "normal", vectorText(fit.axisN));
    printItem(output, "curvature u", numberText(fit.curvatureU));
    printItem(output, "curvature v", numberText(fit.curvatureV));
}

void printQuality(std::ostream& output, FitQuality const& quality) {
    printItem(output, "residual",
              "mean " + numberText(quality.meanResidual) + ", max " + numberText(quality.maxResidual));
    printItem(output, "points used", std::to_string(quality.usedCount));
    if (!quality.isSettled) {
        printItem(output, "note", "the fit did not come to rest within its limit of steps");
    }
}

void printFit(std::ostream& output, FitOptions const&, FitResult const& result) {
    std::visit(
        [&](auto const& fit) {
            printSurface(output, fit);
            printQuality(output, fit.quality);
        },
        result);
}

} // namespace

Command addFit(CLI::App& app) {
    auto const options = std::make_shared<FitOptions>();
    CLI::App* const command = addCommand(app, "fit", "Fit a surface to a cloud of points");
    std::map<std::string, FitSurface> const surfaces{{"sphere", FitSurface::Sphere},
                                                     {"cylinder", FitSurface::Cylinder},
                                                     {"paraboloid", FitSurface::Paraboloid}};
    command
        ->add_option(
            "SURFACE",
            "sphere, cylinder, or paraboloid; a paraboloid's first point should be its vertex and z near its "
            "axis, and it takes minutes")
        ->type_name("TEXT")
        ->check(CLI::IsMember({"sphere", "cylinder", "paraboloid"}))
        ->check(reading(options->surface, oneOf(surfaces)))
        ->required();
    addPartOptions(
        *command, "CLOUD", options->cloud,
        "Points: XYZ, CSV, PLY, OFF, OBJ, or those of a mesh; for a cylinder with normals, as in a "
        "table of x y z nx ny nz a line");
    return commandOf(
        command, [options] { return *options; }, fit, printFit);
}

} // namespace cscan
