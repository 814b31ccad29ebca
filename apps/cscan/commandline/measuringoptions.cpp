#include "apps/cscan/commandline/measuringoptions.h"

#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commandline/shotoptions.h"

#include <algorithm>

namespace cscan {

namespace {

constexpr double rightAngle = 90.0;
constexpr double percent = 100.0;

double angleIn(std::string_view text) {
    double const angle = positiveNumberIn(text);
    if (angle > rightAngle) {
        throw UsageError("'" + std::string(text) + "' is more than 90 degrees off head-on");
    }
    return angle;
}

/// An option that may be given several times.
template <class Value, class Read>
void addListOption(CLI::App& command, std::string const& name, std::string const& form,
                   std::vector<Value>& values, Read read, std::string const& description) {
    command.add_option(name, description)
        ->expected(1, CLI::detail::expected_max_vector_size)
        ->allow_extra_args(false)
        ->check(reading(values, usage(read)))
        ->type_name(form);
}

void addValueOptions(CLI::App& command, QuantityOptions& quantities) {
    addListOption(
        command, "--value", "NAME:STAT", quantities.values, valueRequestIn,
        "What a pixel is to hold of a column, such as amplitude:max, of min, max, mean, median, last and "
        "count; given once for each value. If not given, what suits each column. Means of decibels are "
        "those of amplitudes");
    addListOption(command, "--gate", "NAME:FROM..TO", quantities.gates, gateIn,
                  "Window in a column's unit, such as tof:2.1..8.4: what lies outside is no echo");
    addListOption(command, "--where", "CONDITION", quantities.conditions, conditionIn,
                  "What an echo has to fulfil in a column's unit, such as 'amplitude>=20'");
    addListOption(command, "--ceiling", "[NAME:]X", quantities.ceilings, columnNumberIn,
                  "From which value on a column is saturated; 100 for %FSH if not given");
}

void addLengthOptions(CLI::App& command, RawMeasuring& raw) {
    auto* const depth = command.add_option("--depth", raw.depth.time,
                                           "Tell depths from this column of times of flight, there and back");
    auto* const speed = command.add_option("--speed", "Speed of sound in the part, metres a second");
    speed->check(reading(raw.depth.speed, positiveNumberIn))->type_name("M/S")->needs(depth);
    depth->type_name("NAME")->needs(speed);
    command
        .add_option(
            "--zero",
            "Time at which the surface answers, in the column's unit; if not given, that of --front, else 0")
        ->check(reading(raw.depth.zero, numberIn))
        ->type_name("T")
        ->needs(depth);
    auto* const front =
        command.add_option("--front", raw.front.time, "Column of the times at which the surface answers");
    auto* const couplant = command.add_option(
        "--couplant-speed",
        "Speed of sound on the way to the part, metres a second: standoffs are compared with --front");
    couplant->check(reading(raw.front.speed, positiveNumberIn))->type_name("M/S")->needs(front);
    front->type_name("NAME");
    command.add_option("--reference", "Amplitudes are told in decibels of this one")
        ->check(reading(raw.reference, usage(columnNumberIn)))
        ->type_name("[NAME:]R");
}

void addAcceptanceOptions(CLI::App& command, RawMeasuring& raw) {
    // The raster has a --standoff, too, and only one of the two is in a command line.
    command
        .add_option("--standoff-tolerance",
                    "Refuse shots whose distance from the part is more than this off --standoff")
        ->check(reading(raw.standoffTolerance, positiveNumberIn))
        ->type_name("T");
    command.add_option("--max-angle", "Refuse shots at more degrees off head-on; 90 if not given")
        ->check(reading(raw.options.acceptance.maxAngle, angleIn))
        ->type_name("DEG");
    command.add_option("--require-gap", "End with status 3 if a gap along the surface is longer")
        ->check(reading(raw.options.requiredGap, positiveNumberIn))
        ->type_name("D");
    command.add_option("--require-coverage", "End with status 3 if less percent of the surface was reached")
        ->check(reading(raw.coverage, percentIn))
        ->type_name("PERCENT");
}

} // namespace

void addMeasuringOptions(CLI::App& command, RawMeasuring& raw) {
    std::size_t const before = command.get_options().size();
    addShotOptions(command, raw.options.shots);
    addValueOptions(command, raw.options.quantities);
    addLengthOptions(command, raw);
    addAcceptanceOptions(command, raw);
    command
        .add_option("--fill",
                    "Let pixels without a shot show the nearest within this distance; they stay not reached")
        ->check(reading(raw.options.fill, positiveNumberIn))
        ->type_name("D");
    command.add_flag("--keep-shots", raw.options.doKeepShots, "Write every shot into the result");
    command
        .add_option("--result", raw.options.result, "Result to write: the C-scan of what was measured, HDF5")
        ->type_name("OUT.h5");
    auto const options = command.get_options();
    std::for_each(options.begin() + static_cast<std::ptrdiff_t>(before), options.end(),
                  [](CLI::Option* option) { option->group(measuringGroup); });
    command.get_option("--frame")->group("Options");
}

bool isMeasuring(CLI::App const& command) {
    return command.count("--data") > 0 || command.count("--shots") > 0;
}

MeasuredScanOptions measuringOptionsOf(RawMeasuring const& raw, CLI::App const& command) {
    if (command.count("--result") == 0) {
        throw UsageError("scan: --result is required with a table of shots");
    }
    for (char const* const other :
         {"--raster", "--beams", "--csv", "--search", "--compare", "--min-hit-rate"}) {
        if (command.count(other) > 0) {
            throw UsageError(std::string("scan: ") + other + " does not go with a table of shots");
        }
    }
    if (command.count("--standoff") != command.count("--standoff-tolerance")) {
        throw UsageError("scan: --standoff and --standoff-tolerance go together with a table of shots");
    }
    MeasuredScanOptions options = raw.options;
    if (command.count("--depth") > 0) {
        options.quantities.depth = raw.depth;
        if (command.count("--front") > 0 && !raw.depth.zero) {
            options.quantities.depth->front = raw.front.time;
        }
    }
    if (command.count("--couplant-speed") > 0) {
        options.quantities.front = raw.front;
    } else if (command.count("--front") > 0 && command.count("--depth") == 0) {
        throw UsageError("scan: --front goes with --depth, --couplant-speed or both");
    }
    if (command.count("--reference") > 0) {
        options.quantities.reference = raw.reference;
    }
    if (command.count("--require-coverage") > 0) {
        options.requiredCoverage = raw.coverage / percent;
    }
    options.acceptance.standoffTolerance = raw.standoffTolerance;
    return options;
}

} // namespace cscan
