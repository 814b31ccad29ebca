#include "Inspection/poses/registerpoints.h"
#include "Inspection/records/numbers.h"
#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/report.h"

#include <memory>
#include <ostream>

namespace cscan {

namespace {

constexpr int residualDigits = 4;

/// What CLI11 fills in.
struct RawRegister {
    RegisterOptions options;
    bool isRigid = false;
    bool isAffine = false;
};

RegisterOptions optionsOf(RawRegister const& raw) {
    RegisterOptions options = raw.options;
    options.map = raw.isRigid    ? RegisterMap::Rigid
                  : raw.isAffine ? RegisterMap::Affine
                                 : RegisterMap::ByCount;
    return options;
}

std::string rowText(LinearMap const& map, unsigned long row) {
    return vectorText(Vector(map.get(row, 0), map.get(row, 1), map.get(row, 2)));
}

std::string pairText(RegisterResult const& result, std::size_t pair) {
    return "pair " + std::to_string(pair + 1) + " of line " + std::to_string(result.pairs[pair].line);
}

void printFit(std::ostream& output, RegisterResult const& result) {
    FrameFit const& fit = *result.fit;
    printItem(output, "pairs", std::to_string(result.pairs.size()));
    printItem(output, "residual rms", toShortText(fit.rms, residualDigits));
    printItem(output, "worst residual",
              toShortText(fit.residuals[fit.worst], residualDigits) + ", " + pairText(result, fit.worst));
    for (std::size_t const pair : fit.getOutliers()) {
        printItem(output, "outlier",
                  pairText(result, pair) + " misses by " + toShortText(fit.residuals[pair], residualDigits) +
                      ", more than three times the root mean square");
    }
}

void printRegistered(std::ostream& output, RegisterOptions const& options, RegisterResult const& result) {
    LinearMap const& map = result.registration.map;
    printItem(output, "map", result.isRigid ? "rigid" : "affine");
    printItem(output, "matrix row 1", rowText(map, 0));
    printItem(output, "matrix row 2", rowText(map, 1));
    printItem(output, "matrix row 3", rowText(map, 2));
    printItem(output, "translation", vectorText(result.translation));
    printItem(output, "largest miss", toShortText(result.largestMiss, 6));
    if (result.fit) {
        printFit(output, result);
    }
    for (std::string const& warning : result.warnings) {
        printItem(output, "warning", warning);
    }
    if (!result.registration.isSettled) {
        printItem(output, "note", "the descent did not come to rest within its limit of steps");
    }
    if (options.frame) {
        printItem(output, "frame", options.frame->string());
    }
}

} // namespace

Command addRegister(CLI::App& app) {
    auto const raw = std::make_shared<RawRegister>();
    CLI::App* const registration =
        addCommand(app, "register", "Find the map that takes points to their places");
    registration
        ->add_option("PAIRS", raw->options.pairs,
                     "A table with the columns sx,sy,sz,tx,ty,tz: 3 to 1000 pairs for a rigid motion, which "
                     "takes the first three, in the cell, to the others, on the part")
        ->required();
    CLI::Option* const frame = registration->add_option(
        "--out", raw->options.frame,
        "Frame to write, for --frame of other commands: the rigid motion of least squares");
    frame->type_name("FRAME.json");
    registration->add_option("--unit", raw->options.unit, "The unit of the pairs, to go with the frame")
        ->type_name("NAME")
        ->needs(frame);
    CLI::Option* const rigid = registration->add_flag(
        "--rigid", raw->isRigid, "Find the rigid motion of least squares for any number of pairs");
    registration
        ->add_flag("--affine", raw->isAffine,
                   "Find the affine map through four pairs, as without any option; a frame is rigid")
        ->excludes(frame)
        ->excludes(rigid);
    return commandOf(
        registration, [raw] { return optionsOf(*raw); }, registerPoints, printRegistered);
}

} // namespace cscan
