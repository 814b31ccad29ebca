#include "Inspection/fits/surfacefits.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/numbers.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/report.h"

#include <ostream>

namespace cscan {

namespace {

constexpr int digits = 6;

std::string numberText(double number) {
    return toShortText(number, digits);
}

void print(std::ostream& output, SphereFit const& fit) {
    printItem(output, "centre", pointText(fit.centre));
    printItem(output, "radius", numberText(fit.radius));
}

void print(std::ostream& output, CylinderFit const& fit) {
    printItem(output, "axis point", pointText(fit.axisPoint));
    printItem(output, "axis direction", vectorText(fit.axisDirection));
    printItem(output, "radius", numberText(fit.radius));
}

void print(std::ostream& output, ParaboloidFit const& fit) {
    printItem(output, "vertex", pointText(fit.vertex));
    printItem(output, "axis u", vectorText(fit.axisU));
    printItem(output, "axis v", vectorText(fit.axisV));
    printItem(output, "normal", vectorText(fit.axisN));
    printItem(output, "curvature u", numberText(fit.curvatureU));
    printItem(output, "curvature v", numberText(fit.curvatureV));
}

template <class Cloud, class Fit>
void fitAndPrint(FitOptions const& options, std::ostream& output, Cloud const& cloud, Fit fit) {
    auto const result = naming(options.cloud.string(), [&] { return fit(cloud); });
    FitQuality const& quality = result.quality;
    print(output, result);
    printItem(output, "residual",
              "mean " + numberText(quality.meanResidual) + ", max " + numberText(quality.maxResidual));
    printItem(output, "points used", std::to_string(quality.usedCount));
    if (!quality.isSettled) {
        printItem(output, "note", "the fit did not come to rest within its limit of steps");
    }
}

} // namespace

void runFit(FitOptions const& options, std::ostream& output, ProgressDisplay& display) {
    display.setMessage("Fitting...");
    switch (options.surface) {
    case FitSurface::Sphere:
        return fitAndPrint(options, output, readCloudFile(options.cloud), fitSphere);
    case FitSurface::Cylinder:
        return fitAndPrint(options, output, readOrientedCloudFile(options.cloud), fitCylinder);
    case FitSurface::Paraboloid:
        return fitAndPrint(options, output, readCloudFile(options.cloud), fitParaboloid);
    }
}

} // namespace cscan
