#include "Inspection/pictures/indicationpicture.h"
#include "Inspection/records/numbers.h"
#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/report.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <ostream>

namespace cscan {

namespace {

/// The number before a sign such as "dB", which the text ends with.
double numberBefore(std::string_view text, std::string_view sign) {
    return numberIn(text.substr(0, text.size() - sign.size()));
}

/// "50%", "-6dB" or a plain level.
Threshold thresholdIn(std::string_view text) {
    if (text.ends_with("%")) {
        double const percent = numberBefore(text, "%");
        if (!(percent > 0.0)) {
            throw UsageError("'" + std::string(text) + "' is not above zero");
        }
        return {true, percent / 100.0};
    }
    if (text.ends_with("dB")) {
        return {true, std::pow(10.0, numberBefore(text, "dB") / 20.0)};
    }
    return {false, numberIn(text)};
}

std::optional<double> originIn(std::string_view text) {
    return text == "peak" ? std::nullopt : std::optional<double>(numberIn(text));
}

void addThresholdOptions(CLI::App& command, IndicationOptions& search) {
    command
        .add_option("--value", search.value, "Value of the result that shows something, such as amplitude")
        ->type_name("NAME")
        ->required();
    command
        .add_option("--threshold", "From where on it does: a level in the value's unit, or % or dB of the "
                                   "indication's own peak or of the level that --from gives")
        ->check(reading(search.threshold, thresholdIn))
        ->type_name("50%|-6dB|LEVEL")
        ->required();
    command.add_option("--from", "What a threshold in % or dB is of: peak (if not given) or a level")
        ->check(reading(search.from, originIn))
        ->type_name("peak|LEVEL");
    command.add_flag("--below", search.isBelow,
                     "What lies below the level shows something, and so does an echo that is lost");
    command.add_option("--min-peak", "Pass over what does not reach this, in the value's unit")
        ->check(reading(search.minPeak, numberIn))
        ->type_name("LEVEL");
}

void addSizeOptions(CLI::App& command, IndicationOptions& search) {
    command.add_option("--beam", "The beam's width on the part at half its peak; what is no wider is marked")
        ->check(reading(search.beam, positiveNumberIn))
        ->type_name("B");
    command.add_option("--min-area", "Leave out what is smaller on the part, after merging")
        ->check(reading(search.minArea, nonNegativeNumberIn))
        ->type_name("A");
    command.add_option("--merge", "Make one of those whose rims are nearer than this along the surface")
        ->check(reading(search.merge, nonNegativeNumberIn))
        ->type_name("G");
    command.add_flag("--filled", search.doUseFilled,
                     "Take pixels that no shot met by the values that they are shown with");
}

void addOutputOptions(CLI::App& command, DrawnIndicationsOptions& options) {
    command.add_option("OUT", options.indications.table, "Table to write, a line for each indication")
        ->required();
    command.add_option("--image", options.image, "Picture to write, outlined and numbered")->type_name("PNG");
    CLI::Option* const poses =
        command.add_option("--poses", options.indications.poses,
                           "Table of beams to write (ox,oy,oz,dx,dy,dz), to go back to each indication");
    CLI::Option* const standoff =
        command.add_option("--standoff", "Distance of these beams' origins from the surface");
    poses->type_name("CSV")->needs(standoff);
    standoff->check(reading(options.indications.standoff, positiveNumberIn))->type_name("D")->needs(poses);
}

void requireFit(IndicationOptions const& search) {
    if (search.threshold.isShare && !search.from && search.isBelow) {
        throw UsageError("--below: what lies below has no peak; give the level with --from, or a threshold "
                         "without % or dB");
    }
    if (!search.threshold.isShare && search.from) {
        throw UsageError("--from: needs a threshold in % or dB");
    }
    if (search.threshold.isShare && !search.from && search.threshold.number >= 1.0) {
        throw UsageError("--threshold: a share of the own peak is less than 100% or 0dB");
    }
}

std::string sizeText(double size) {
    return toShortText(size, 4);
}

std::vector<std::string> rowOf(Indication const& one) {
    return {std::to_string(one.number),
            nameOf(one.state),
            one.peak ? toShortText(*one.peak, 5) : "-",
            pointText(Point(one.centre.point.getdX(), one.centre.point.getdY(), one.centre.point.getdZ())),
            sizeText(one.length),
            sizeText(one.width),
            sizeText(one.area),
            one.depth ? sizeText(*one.depth) : "-",
            touchesOf(one).empty() ? "-" : touchesOf(one),
            one.isUnderBeam ? "under beam" : ""};
}

void printFirst(std::ostream& output, std::vector<Indication> const& found) {
    constexpr std::size_t maxRows = 20;
    std::vector<std::vector<std::string>> rows{
        {"no.", "state", "peak", "centre", "length", "width", "area", "depth", "touches", ""}};
    for (std::size_t i = 0; i < std::min(found.size(), maxRows); ++i) {
        rows.push_back(rowOf(found[i]));
    }
    printTable(output, rows);
    if (found.size() > maxRows) {
        output << "... and " << found.size() - maxRows << " more in the table\n";
    }
}

ExitStatus printFoundIndications(std::ostream& output, DrawnIndicationsOptions const& options,
                                 FoundIndications const& found) {
    IndicationSearch const& search = found.search;
    printItem(output, "indications", std::to_string(search.indications.size()));
    if (search.tooSmall > 0) {
        printItem(output, "left out",
                  std::to_string(search.tooSmall) + " smaller than " +
                      toShortText(options.indications.search.minArea, 6));
    }
    if (search.flanks > 0) {
        printItem(output, "not apart",
                  counted(search.flanks, "maximum", "maxima") +
                      " on the flank of a louder one, not outlined");
    }
    if (!search.indications.empty()) {
        printFirst(output, search.indications);
    }
    printItem(output, "table", options.indications.table.string());
    if (options.indications.poses) {
        printItem(output, "poses", options.indications.poses->string());
    }
    if (options.image) {
        printItem(output, "image", options.image->string());
    }
    if (found.isFit()) {
        return Success;
    }
    printItem(output, "verdict",
              "NOT fit: the shots lie farther apart than the pixels are wide, so that what hangs together is "
              "found once on each line of them");
    printItem(output, "  remedy",
              found.isFilled
                  ? "give --filled, which takes the values that the result shows between the shots"
                  : "scan with --fill as far as the shots lie apart and give --filled here; or make "
                    "the grid of pixels as wide as that");
    return NotFit;
}

} // namespace

Command addIndications(CLI::App& app) {
    auto const options = std::make_shared<DrawnIndicationsOptions>();
    CLI::App* const command =
        addCommand(app, "indications", "Find what a measured C-scan shows, with its true sizes");
    command->add_option("RESULT", options->indications.result, "Measured C-scan, an HDF5 file")->required();
    addThresholdOptions(*command, options->indications.search);
    addSizeOptions(*command, options->indications.search);
    addOutputOptions(*command, *options);
    auto const read = [options] {
        requireFit(options->indications.search);
        return *options;
    };
    return commandOf(command, read, drawIndications, printFoundIndications);
}

} // namespace cscan
