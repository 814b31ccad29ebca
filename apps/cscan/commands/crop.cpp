#include "Inspection/parts/partcrop.h"

#include "Inspection/records/numbers.h"
#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commandline/partoptions.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/partreport.h"
#include "apps/cscan/report/report.h"

#include <cmath>
#include <limits>
#include <memory>
#include <numbers>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace cscan {

namespace {

constexpr double radians = std::numbers::pi / 180.0;
constexpr double usualAngle = 60.0;
constexpr double usualCrease = 30.0;

/// A patch of more than half of what is kept is no island.
constexpr double maxIslandPercent = 50.0;

Point pointOf(std::vector<double> const& numbers, std::size_t first, std::string_view text) {
    for (std::size_t i = first; i < first + 3; ++i) {
        if (std::abs(numbers[i]) > std::numeric_limits<float>::max()) {
            throw UsageError("'" + std::string(text) + "' lies too far out");
        }
    }
    return {numbers[first], numbers[first + 1], numbers[first + 2]};
}

CropBox boxIn(std::string_view text) {
    auto const numbers = numbersIn(text, "X0,Y0,Z0,X1,Y1,Z1");
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (!(numbers[axis] < numbers[axis + 3])) {
            throw UsageError("'" + std::string(text) + "' is no box: the lower corner comes first");
        }
    }
    return {pointOf(numbers, 0, text), pointOf(numbers, 3, text)};
}

CropPlane planeIn(std::string_view text) {
    auto const numbers = numbersIn(text, "X,Y,Z,NX,NY,NZ");
    Vector const normal(numbers[3], numbers[4], numbers[5]);
    if (!(normal.lSqr() > 0.0) || !std::isfinite(normal.lSqr())) {
        throw UsageError("'" + std::string(text) + "' has a normal of no usable length");
    }
    return {pointOf(numbers, 0, text), normal};
}

double angleIn(std::string_view text) {
    double const angle = nonNegativeNumberIn(text);
    if (angle > 180.0) {
        throw UsageError("'" + std::string(text) + "' is more than 180 degrees");
    }
    return angle * radians;
}

double islandShareIn(std::string_view text) {
    double const percent = nonNegativeNumberIn(text);
    if (percent > maxIslandPercent) {
        throw UsageError("'" + std::string(text) + "' is more than 50 percent");
    }
    return percent / 100.0;
}

/// Of what the user asks for, until it is known to be whole.
struct CropArguments {
    CropOptions options;
    std::optional<Vector> direction;
    double angle = usualAngle * radians;
    std::optional<Point> place;
    double crease = usualCrease * radians;
};

CropOptions optionsOf(CropArguments const& arguments) {
    CropOptions options = arguments.options;
    if (arguments.direction) {
        options.choice.facing = {*arguments.direction, arguments.angle};
    }
    if (arguments.place) {
        options.choice.growth = {*arguments.place, arguments.crease};
    }
    if (options.choice.boxes.empty() && options.choice.planes.empty() && !options.choice.facing &&
        !options.choice.growth) {
        throw UsageError("what is to be kept is missing: --box, --plane, --facing or --grow");
    }
    return options;
}

void printCrop(std::ostream& output, CropReport const& crop) {
    printItem(output, "kept", counted(crop.keptCount, "face", "faces"));
    printItem(output, "left out", counted(crop.unwantedCount, "face does not fit", "faces do not fit"));
    if (crop.sheetCount > 0) {
        printItem(output, "",
                  counted(crop.sheetFaceCount, "face", "faces") + " of " +
                      counted(crop.sheetCount, "other sheet", "other sheets") +
                      ": --grow X,Y,Z takes the one at a place");
    }
    if (crop.pinchedCount > 0) {
        printItem(output, "",
                  counted(crop.pinchedCount, "face", "faces") + " where sheets would meet in a point alone");
    }
    if (crop.faultyCount > 0) {
        printItem(output, "",
                  counted(crop.faultyCount, "faulty face", "faulty faces") + ": see cscan check of the part");
    }
    if (crop.islandFaceCount > 0) {
        printItem(output, "islands kept", counted(crop.islandFaceCount, "face", "faces"));
    }
}

ExitStatus printResult(std::ostream& output, CropOptions const& options, CropResult const& result) {
    output << options.result.string() << '\n';
    printCrop(output, result.crop);
    printAnalysis(output, result.analysis);
    if (result.canBePrepared()) {
        printSuggestion(output, result.analysis, result.mode);
    }
    printFaults(output, result.faults);
    printNextCommands(output, result.nextCommands);
    return result.canBePrepared() ? Success : NotFit;
}

/// An option that may be given several times.
template <class Value, class Read>
void addListOption(CLI::App& crop, std::string const& name, std::string const& valueName,
                   std::vector<Value>& values, Read read, std::string const& description) {
    crop.add_option(name, description)
        ->expected(1, CLI::detail::expected_max_vector_size)
        ->allow_extra_args(false)
        ->check(reading(values, read))
        ->type_name(valueName);
}

void addPlaceOptions(CLI::App& crop, CropChoice& choice) {
    addListOption(crop, "--box", "X0,Y0,Z0,X1,Y1,Z1", choice.boxes, boxIn,
                  "Keep what lies within a box; may be given several times");
    addListOption(crop, "--plane", "X,Y,Z,NX,NY,NZ", choice.planes, planeIn,
                  "Keep what lies on the side of a plane that its normal points to: a point of it and the "
                  "normal; may be given several times");
}

void addShapeOptions(CLI::App& command, CropArguments& arguments) {
    CLI::Option* const facing = command.add_option("--facing", "Keep what faces this way");
    facing->check(reading(arguments.direction, directionIn))->type_name("X,Y,Z");
    command.add_option("--angle", "Within this many degrees; 60 if it is not given")
        ->check(reading(arguments.angle, angleIn))
        ->type_name("DEG")
        ->needs(facing);
    CLI::Option* const grow =
        command.add_option("--grow", "Keep what hangs together with the face nearest to this place");
    grow->check(reading(arguments.place, pointIn))->type_name("X,Y,Z");
    command
        .add_option("--crease",
                    "Up to sides at which the surface bends by more than this many degrees; 30 if it is not "
                    "given")
        ->check(reading(arguments.crease, angleIn))
        ->type_name("DEG")
        ->needs(grow);
    command
        .add_option("--islands",
                    "Keep also patches within that face or bend otherwise, as noise makes them, of up to "
                    "this many percent of the area")
        ->check(reading(arguments.options.choice.islandShare, islandShareIn))
        ->type_name("PERCENT");
}

} // namespace

Command addCrop(CLI::App& app) {
    auto const arguments = std::make_shared<CropArguments>();
    CLI::App* const command = addCommand(
        app, "crop", "Cut the face to inspect out of a part; what is asked for must hold all together");
    addPartOptions(*command, "PART", arguments->options.part, "The part, of any format that import reads");
    command->add_option("OUT", arguments->options.result, "Mesh to write, an OBJ file")->required();
    addPlaceOptions(*command, arguments->options.choice);
    addShapeOptions(*command, *arguments);
    return commandOf(
        command, [arguments] { return optionsOf(*arguments); }, cropPart, printResult);
}

} // namespace cscan
