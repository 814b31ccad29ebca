#include "Inspection/pictures/pathpicture.h"
#include "Inspection/records/numbers.h"
#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commandline/partoptions.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/report.h"

#include <algorithm>
#include <array>
#include <memory>
#include <ostream>
#include <string>

namespace cscan {

namespace {

constexpr std::size_t mostPlacesTold = 5;

double shareBelowOneIn(std::string_view text) {
    double const percent = nonNegativeNumberIn(text);
    if (percent >= 100.0) {
        throw UsageError("'" + std::string(text) + "' is not below 100 percent");
    }
    return percent / 100.0;
}

double shareIn(std::string_view text) {
    double const percent = nonNegativeNumberIn(text);
    if (percent > 100.0) {
        throw UsageError("'" + std::string(text) + "' is more than 100 percent");
    }
    return percent / 100.0;
}

std::string lengthText(Plan const& plan, double length) {
    return toShortText(length, 5) + " " + plan.unit;
}

/// In the part's own place.
std::string placeText(Plan const& plan, Vector const& place) {
    return vectorText(place - plan.move);
}

std::string placeText(Plan const& plan, std::array<double, 3> const& place) {
    return placeText(plan, Vector(place[0], place[1], place[2]));
}

void printPath(std::ostream& output, PlanOptions const& options, Plan const& plan) {
    Path const& path = plan.path;
    printItem(output, "lines",
              std::to_string(path.lineCount) + " along " +
                  (options.settings.along == PathAxis::AlongU ? "u" : "v") + " in " +
                  counted(path.runCount, "run", "runs") + ", at most " +
                  lengthText(plan, path.widestSpacing) + " apart on the surface");
    printItem(output, "poses",
              std::to_string(path.poses.size()) + ", at most " + lengthText(plan, path.widestStep) +
                  " apart on a run");
    printItem(output, "length",
              lengthText(plan, path.length) +
                  (options.settings.speed
                       ? ", " + toShortText(path.length / *options.settings.speed, 5) + " s"
                       : std::string()));
}

void printSharpPlaces(std::ostream& output, Plan const& plan) {
    auto const& places = plan.path.sharpPlaces;
    if (places.empty()) {
        return;
    }
    printItem(output, "sharp edges",
              counted(places.size(), "place", "places") +
                  " where the surface turns within a footprint: expect lost echoes there");
    for (std::size_t i = 0; i < std::min(places.size(), mostPlacesTold); ++i) {
        printItem(output, "",
                  toShortText(places[i].angle, 3) + " degrees at " + placeText(plan, places[i].place) +
                      ", over " + counted(places[i].poseCount, "pose", "poses"));
    }
}

void printCheck(std::ostream& output, PlanOptions const& options, Plan const& plan) {
    PathCheck const& check = plan.check;
    Coverage const& coverage = check.coverage;
    printItem(
        output, "fired back",
        counted(check.shotCount, "shot", "shots") + ", " + std::to_string(check.missedCount) +
            " missed the part" +
            (check.missedCount > 0 ? ", first at " + placeText(plan, check.firstMissed) : std::string()));
    printItem(output, "largest angle",
              toShortText(check.largestAngle, 3) + " degrees off head-on, at " +
                  placeText(plan, check.largestAnglePlace));
    printItem(output, "covered",
              toFixedText(100.0 * coverage.reachedShare(), 2) + " % of " +
                  toShortText(coverage.surfaceArea, 6) + " " + plan.unit + "2, by footprints of " +
                  lengthText(plan, options.settings.footprintDiameter()));
    if (coverage.longestGap > 0.0) {
        printItem(output, "longest gap",
                  lengthText(plan, coverage.longestGap) + " along the surface, at " +
                      placeText(plan, coverage.gapPlace));
    }
}

ExitStatus printPlanned(std::ostream& output, DrawnPlanOptions const& drawn, Plan const& plan) {
    PlanOptions const& options = drawn.plan;
    printPath(output, options, plan);
    printSharpPlaces(output, plan);
    printCheck(output, options, plan);
    printItem(output, "path", options.path.string());
    if (drawn.image) {
        printItem(output, "image", drawn.image->string());
    }
    if (plan.check.blockedCount > 0) {
        printItem(output, "verdict",
                  "NOT fit: at " + counted(plan.check.blockedCount, "pose", "poses") +
                      " something of the part is between the probe and its place, first at " +
                      placeText(plan, plan.check.firstBlocked) + "; take a smaller --standoff");
    }
    if (!plan.isCoverageReached) {
        printItem(output, "verdict",
                  "NOT fit: " + toFixedText(100.0 * plan.check.coverage.reachedShare(), 2) +
                      " % are covered, " + toShortText(100.0 * *options.requiredCoverage, 5) +
                      " % were asked for; take a smaller --step or --margin");
    }
    return plan.isFit() ? Success : NotFit;
}

void addLineOptions(CLI::App& command, PathSettings& settings) {
    command.add_option("--step", "Largest distance between shots along a line, on the surface")
        ->check(reading(settings.step, positiveNumberIn))
        ->type_name("S")
        ->required();
    command.add_option("--standoff", "Distance of the probe from the surface")
        ->check(reading(settings.standoff, positiveNumberIn))
        ->type_name("D")
        ->required();
    command.add_option("--along", "Lines of constant v (u, if not given) or of constant u (v)")
        ->check(CLI::IsMember({"u", "v"}))
        ->check(reading(settings.along, oneOf(std::map<std::string, PathAxis>{{"u", PathAxis::AlongU},
                                                                              {"v", PathAxis::AlongV}})))
        ->type_name("AXIS");
    CLI::Option* const footprint =
        command.add_option("--footprint", "Diameter of what a shot covers; 1.5 steps if not given");
    footprint->check(reading(settings.footprint, positiveNumberIn))->type_name("W");
    command
        .add_option("--overlap",
                    "Lines lie so far apart that footprints overlap by so many percent; one step "
                    "apart if not given")
        ->check(reading(settings.overlap, shareBelowOneIn))
        ->type_name("PERCENT")
        ->needs(footprint);
}

void addRimOptions(CLI::App& command, PathSettings& settings) {
    command.add_option("--overshoot", "Lines go on so far past the part")
        ->check(reading(settings.overshoot, nonNegativeNumberIn))
        ->type_name("O");
    command
        .add_option("--margin",
                    "From the rim to the first line and shot; half the distance of lines if not given")
        ->check(reading(settings.margin, nonNegativeNumberIn))
        ->type_name("M");
    command.add_option("--lift", "Lift the probe by so much on the way over holes and to runs elsewhere")
        ->check(reading(settings.lift, positiveNumberIn))
        ->type_name("H");
    command.add_option("--speed", "Of the probe, in the part's unit a second, for the times of the poses")
        ->check(reading(settings.speed, positiveNumberIn))
        ->type_name("V");
    command
        .add_option("--sharp", "Tell places where the surface turns by more than so many degrees within a "
                               "footprint; 20 if not given")
        ->check(reading(settings.sharpAngle, nonNegativeNumberIn))
        ->type_name("DEG");
    command.add_flag("--flip-normals", settings.doFlipNormals, "Take the grid's other side for the outside");
}

} // namespace

Command addPath(CLI::App& app) {
    auto const drawn = std::make_shared<DrawnPlanOptions>();
    PlanOptions* const options = &drawn->plan;
    CLI::App* const command =
        addCommand(app, "path", "Plan the path of a probe over a grid, and check it by firing it back");
    command->add_option("GRID", options->grid, "Grid of the part, a .quads file")->required();
    command
        ->add_option("PATH", options->path,
                     "Table to write: line,run,kind,ox,oy,oz,dx,dy,dz,qw,qx,qy,qz,s and, with a speed, t[s]")
        ->required();
    addLineOptions(*command, options->settings);
    addRimOptions(*command, options->settings);
    addFrameOption(*command, options->frame,
                   "poses are written in the coordinates that it takes to the part's");
    command
        ->add_option("--require-coverage",
                     "End with status 3 if footprints cover fewer percent of the surface")
        ->check(reading(options->requiredCoverage, shareIn))
        ->type_name("PERCENT");
    command
        ->add_option(
            "--unit", options->unit,
            "The part's unit of length, for texts; if not given, the one that the grid's record names")
        ->type_name("NAME");
    command->add_option("--picture", drawn->image, "Picture to draw of the path over the grid")
        ->type_name("OUT.png");
    return commandOf(
        command, [drawn] { return *drawn; }, drawPlan, printPlanned);
}

} // namespace cscan
