#include "Inspection/records/numbers.h"
#include "Inspection/results/surfacefit.h"
#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commandline/partoptions.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/report.h"

#include <memory>
#include <ostream>

namespace cscan {

namespace {

constexpr int digits = 4;

std::string tripleText(Triple const& triple) {
    return vectorText(Vector(triple[0], triple[1], triple[2]));
}

void printFreeMotion(std::ostream& output, FreeMotion const& motion) {
    printItem(output, "  free",
              (motion.isTurn ? "turn about the axis " + tripleText(motion.direction) + " through " +
                                   tripleText(motion.place)
                             : "shift along " + tripleText(motion.direction)) +
                  ", effect " + toShortText(motion.effect, 2));
}

ExitStatus printCorrectedFrame(std::ostream& output, FrameCorrectionOptions const& options,
                               FrameCorrection const& found) {
    SurfaceFit const& fit = found.fit;
    std::string const unit = found.unit.empty() ? "" : " " + found.unit;
    printItem(output, "points",
              std::to_string(fit.pointCount) + " used, " + std::to_string(fit.leftOutCount) + " left out");
    printItem(output, "off the surface",
              toShortText(fit.before, digits) + unit + " before, " + toShortText(fit.after, digits) + unit +
                  " after, root mean square");
    printItem(output, "correction",
              toShortText(fit.shift, digits) + unit + ", " + toShortText(fit.turn, digits) + " deg");
    for (FreeMotion const& motion : fit.freeMotions) {
        printFreeMotion(output, motion);
    }
    if (!found.isWritten) {
        printItem(
            output, "verdict",
            "NOT fit: the shape does not tell the motions named above; measure more of the part, register "
            "points instead, or take the rest of the correction by --accept");
        return NotFit;
    }
    printItem(output, "frame", options.out.string());
    return Success;
}

} // namespace

Command addFitFrame(CLI::App& app) {
    auto const options = std::make_shared<FrameCorrectionOptions>();
    CLI::App* const fit =
        addCommand(app, "fit-frame", "Correct where the part lies by where its surface was measured");
    fit->add_option("RESULT", options->result, "Result of 'cscan scan --data --keep-shots'")->required();
    fit->add_option("--front", options->front, "Column of the times at which the surface answered")
        ->type_name("NAME")
        ->required();
    fit->add_option("--couplant-speed", "Speed of sound on the way to the part, metres a second")
        ->check(reading(options->couplantSpeed, positiveNumberIn))
        ->type_name("M/S")
        ->required();
    addFrameOption(*fit, options->frame, "the one that the shots were read with");
    fit->add_option("--out", options->out, "Frame to write: takes the table's coordinates to the part's")
        ->type_name("FRAME.json")
        ->required();
    fit->add_flag("--accept", options->isAccepted,
                  "Write it even if the shape leaves motions open; these stay as they are");
    return commandOf(
        fit, [options] { return *options; }, correctFrame, printCorrectedFrame);
}

} // namespace cscan
