#include "simulation/simulate.h"

#include "Inspection/records/numbers.h"
#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/report.h"

#include <functional>
#include <memory>
#include <ostream>
#include <set>
#include <string>
#include <vector>

namespace cscan {

namespace {

using QELT::Simulation::Case;
using QELT::Simulation::Clocks;
using QELT::Simulation::RigidMotion;
using QELT::Simulation::SimulateOptions;
using QELT::Simulation::SimulateResult;

/// What the command line says; numbers go into the case once it is known.
struct RawSimulation {
    std::string caseName;
    SimulateOptions options;
    std::vector<std::function<void(Case&)>> changes;
};

RigidMotion motionIn(std::string_view text) {
    auto const n = numbersIn(text, "X,Y,Z,A,B,C");
    return {QELT::Simulation::rotationZyx(n[3], n[4], n[5]), Vector(n[0], n[1], n[2])};
}

/// An option whose text changes the case, once `read` has found it good.
template <class Read, class Change>
void addChange(CLI::App& command, RawSimulation& raw, std::string const& name, std::string const& valueName,
               Read read, Change change, std::string const& description) {
    auto const keep = [&raw, read, change](std::string& text) -> std::string {
        try {
            auto const value = read(text);
            raw.changes.push_back([change, value](Case& setup) { change(setup, value); });
        } catch (UsageError const& error) {
            return error.what();
        }
        return {};
    };
    command.add_option(name, description)
        ->check(CLI::Validator(keep, ""))
        ->type_name(valueName)
        ->expected(1, CLI::detail::expected_max_vector_size)
        ->allow_extra_args(false);
}

void addInstrumentOptions(CLI::App& command, RawSimulation& raw) {
    addChange(
        command, raw, "--beam", "D", positiveNumberIn,
        [](Case& setup, double d) { setup.instrument.beamDiameter = d; },
        "Diameter of the beam at half of its response (-6 dB), mm");
    addChange(
        command, raw, "--tilt-loss", "DB", nonNegativeNumberIn,
        [](Case& setup, double loss) { setup.instrument.tiltLoss = loss; },
        "Loss in dB for each square degree off head-on");
    addChange(
        command, raw, "--noise", "DB", nonNegativeNumberIn,
        [](Case& setup, double noise) { setup.instrument.noise = noise; },
        "Standard deviation of amplitudes, dB");
    addChange(
        command, raw, "--front-noise", "MM", nonNegativeNumberIn,
        [](Case& setup, double noise) { setup.instrument.frontNoise = noise; },
        "Standard deviation of the measured way to the front wall, mm");
    addChange(
        command, raw, "--ceiling", "FSH", positiveNumberIn,
        [](Case& setup, double ceiling) { setup.instrument.ceiling = ceiling; },
        "What louder echoes read as, percent of the full screen");
    addChange(
        command, raw, "--no-echo-below", "FSH", nonNegativeNumberIn,
        [](Case& setup, double level) { setup.instrument.noEchoBelow = level; },
        "Quieter echoes are not reported, percent of the full screen");
    addChange(
        command, raw, "--gate", "FROM,TO", [](std::string_view text) { return numbersIn(text, "FROM,TO"); },
        [](Case& setup, std::vector<double> const& gate) {
            setup.instrument.gateFrom = gate[0];
            setup.instrument.gateTo = gate[1];
        },
        "Depths in mm between which the strongest echo is read; all if not given");
}

void addSweepOptions(CLI::App& command, RawSimulation& raw) {
    addChange(
        command, raw, "--step", "S", positiveNumberIn,
        [](Case& setup, double step) { setup.sweep.step = step; }, "Between shots along a line, mm");
    addChange(
        command, raw, "--lines", "S", positiveNumberIn,
        [](Case& setup, double spacing) { setup.sweep.lineSpacing = spacing; }, "Between lines, mm");
    addChange(
        command, raw, "--standoff", "D", positiveNumberIn,
        [](Case& setup, double standoff) { setup.sweep.standoff = standoff; },
        "From the probe to the part, mm");
    addChange(
        command, raw, "--wobble", "DEG", nonNegativeNumberIn,
        [](Case& setup, double wobble) { setup.sweep.wobble = wobble; },
        "The greatest angle by which the probe swings off the normal");
    addChange(
        command, raw, "--window", "U0,V0,U1,V1",
        [](std::string_view text) { return numbersIn(text, "U0,V0,U1,V1"); },
        [](Case& setup, std::vector<double> const& box) {
            setup.sweep.from = {box[0], box[1]};
            setup.sweep.to = {box[2], box[3]};
        },
        "Sweep this box of the part's own coordinates alone, mm");
}

void addLossOptions(CLI::App& command, RawSimulation& raw) {
    addChange(
        command, raw, "--drop-line", "N", wholeNumberFrom(0),
        [](Case& setup, unsigned long line) { setup.dropouts.lines.push_back(line); },
        "Lose a line of the sweep, counted from 0; may be given several times");
    addChange(
        command, raw, "--drop-patch", "U,V,R", [](std::string_view text) { return numbersIn(text, "U,V,R"); },
        [](Case& setup, std::vector<double> const& patch) {
            setup.dropouts.patch = {{patch[0], patch[1]}, patch[2]};
        },
        "Lose the shots within a radius of a place in the part's own coordinates, mm");
    addChange(
        command, raw, "--drop", "PERCENT", percentIn,
        [](Case& setup, double percent) { setup.dropouts.share = percent / 100.0; },
        "Lose so many shots at random");
}

Clocks& clocksOf(Case& setup) {
    if (!setup.clocks) {
        setup.clocks = Clocks{};
    }
    return *setup.clocks;
}

void addClockOptions(CLI::App& command, RawSimulation& raw) {
    addChange(
        command, raw, "--lag", "MS", numberIn, [](Case& setup, double lag) { clocksOf(setup).lag = lag; },
        "Poses and readings in tables of their own; the instrument stamps a shot so much later than the "
        "robot");
    addChange(
        command, raw, "--jitter", "MS", nonNegativeNumberIn,
        [](Case& setup, double jitter) { clocksOf(setup).jitter = jitter; },
        "The same two tables; standard deviation of the robot's stamps");
}

void addCellOptions(CLI::App& command, RawSimulation& raw) {
    std::map<std::string, QELT::Simulation::Dialect> dialects;
    std::set<std::string> names;
    for (auto const& [dialect, name] : QELT::Simulation::dialects()) {
        dialects.emplace(name, dialect);
        names.insert(name);
    }
    command.add_option("--pose", "How poses are told; origin+direction if not given")
        ->check(CLI::IsMember(names))
        ->check(reading(raw.options.cell.dialect, oneOf(dialects)))
        ->type_name("TEXT");
    command
        .add_option(
            "--frame",
            "What takes the cell's coordinates to the part's: a shift, and degrees about the moving axes "
            "z, y, x")
        ->check(reading(raw.options.cell.frame, motionIn))
        ->type_name("X,Y,Z,A,B,C");
    command.add_option("--tool", "What takes the probe's coordinates to the flange's, told likewise")
        ->check(reading(raw.options.cell.tool, motionIn))
        ->type_name("X,Y,Z,A,B,C");
    command.add_flag("--decimal-commas", raw.options.cell.hasDecimalCommas,
                     "Write 1,5 for 1.5, and semicolons between fields");
    addChange(
        command, raw, "--seed", "N", wholeNumberFrom(0),
        [](Case& setup, unsigned long seed) { setup.seed = static_cast<std::uint32_t>(seed); },
        "Of noise and losses");
}

SimulateOptions optionsOf(RawSimulation const& raw) {
    SimulateOptions options = raw.options;
    options.setup = QELT::Simulation::caseOf(raw.caseName);
    for (auto const& change : raw.changes) {
        change(options.setup);
    }
    if (options.path && options.setup.clocks) {
        throw UsageError("--path: a planned path is measured on one clock, without --lag and --jitter");
    }
    return options;
}

void printSimulated(std::ostream& output, SimulateOptions const& options, SimulateResult const& result) {
    auto const& measurement = result.measurement;
    printItem(output, "simulated", options.setup.name + ": computed from formulas, nothing was measured");
    printItem(output, "part", counted(result.triangleCount, "triangle", "triangles"));
    printItem(output, "flaws", std::to_string(measurement.flaws.size()));
    for (auto const& placed : measurement.flaws) {
        printItem(output, "",
                  placed.flaw.name + " at " + vectorText(placed.centre.point) + ", " +
                      toShortText(placed.area, 5) + " mm2, " + toShortText(placed.flaw.depth, 4) +
                      " mm deep");
    }
    printItem(output, "shots",
              std::to_string(measurement.shots.size()) + " on " +
                  counted(measurement.lineCount, "line", "lines") + ", " +
                  std::to_string(measurement.droppedCount) + " lost");
    for (auto const& file : result.files) {
        printItem(output, "written", file.string());
    }
}

} // namespace

Command addSimulate(CLI::App& app) {
    auto const raw = std::make_shared<RawSimulation>();
    CLI::App* const command = addCommand(
        app, "simulate", "Simulate a part with flaws and its measurement, with the truth about both");
    auto const names = QELT::Simulation::caseNames();
    command->add_option("CASE", raw->caseName, "cylinder, cap or blade")
        ->check(CLI::IsMember(std::set<std::string>(names.begin(), names.end())))
        ->type_name("TEXT")
        ->required();
    command->add_option("FOLDER", raw->options.folder, "Where the files go; made if it is not there")
        ->required();
    addSweepOptions(*command, *raw);
    addInstrumentOptions(*command, *raw);
    command
        ->add_option("--path", raw->options.path,
                     "Fire at the poses of a path that cscan path planned for the part")
        ->type_name("PATH.csv");
    addLossOptions(*command, *raw);
    addClockOptions(*command, *raw);
    addCellOptions(*command, *raw);
    return commandOf(
        command, [raw] { return optionsOf(*raw); }, QELT::Simulation::simulate, printSimulated);
}

} // namespace cscan
