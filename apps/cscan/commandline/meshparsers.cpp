#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commandline/commandparsers.h"

#include <CLI/CLI.hpp>
#include <memory>

namespace cscan {

namespace {

/// Covering a hole costs the cube of its sides; more are taken for a mistake.
constexpr unsigned long largestHole = 1000;

Command addReconstruct(CLI::App& app) {
    struct Raw {
        ReconstructOptions options;
        RawRepair repair;
    };

    auto const raw = std::make_shared<Raw>();
    CLI::App* const reconstruct =
        app.add_subcommand("reconstruct", "Build a triangle mesh through a cloud of points");
    reconstruct->add_option("CLOUD", raw->options.cloud, "Points of the part, an .xyz file")->required();
    reconstruct->add_option("OUT", raw->options.part, "Mesh to write, an OBJ file")->required();
    addRepairOptions(*reconstruct, raw->repair);
    return {reconstruct, [raw] {
                ReconstructOptions options = raw->options;
                options.repair = checkedRepair(raw->repair);
                return options;
            }};
}

unsigned long axisOf(std::string const& name) {
    return static_cast<unsigned long>(name[0] - 'x');
}

Command addCut(CLI::App& app) {
    struct Raw {
        CutOptions options;
        std::string metric;
        std::string axis;
        std::string across;
    };

    auto const raw = std::make_shared<Raw>();
    CLI::App* const cut =
        app.add_subcommand("cut", "Slit a tube from rim to rim, so that it can be prepared");
    cut->add_option("PART", raw->options.part, "Mesh of the part, an OBJ file")->required();
    cut->add_option("OUT", raw->options.result,
                    "Mesh to write, an OBJ file; the file with the cut goes beside it and must stay there")
        ->required();
    CLI::IsMember const axes({"x", "y", "z"});
    cut->add_option("--metric", raw->metric, "Start at the rim's least or greatest coordinate")
        ->check(CLI::IsMember({"min", "max"}))
        ->required();
    cut->add_option("--axis", raw->axis, "Which coordinate that is; the cut runs on along this axis")
        ->check(axes)
        ->required();
    cut->add_option(
           "--across", raw->across,
           "The axis along which the surface's normal points at the start, either way: the cut keeps to the "
           "plane of both axes")
        ->check(axes)
        ->required();
    return {cut, [raw] {
                CutOptions options = raw->options;
                options.cut.isFromGreatest = raw->metric == "max";
                options.cut.axis = axisOf(raw->axis);
                options.cut.normalAxis = axisOf(raw->across);
                return options;
            }};
}

} // namespace

void addRepairOptions(CLI::App& app, RawRepair& raw) {
    app.add_option("--max-side", raw.longestSide,
                   "Of a cloud: leave out triangles with a side longer than this, which bridge gaps")
        ->type_name("L");
    app.add_option("--fill-holes", raw.largestHole,
                   "Of a cloud: close holes of at most so many sides; 3 if it is not given")
        ->type_name("N");
}

RepairOptions checkedRepair(RawRepair const& raw) {
    RepairOptions options;
    if (!raw.longestSide.empty()) {
        options.longestSide = positiveNumberFor("--max-side", raw.longestSide);
    }
    if (!raw.largestHole.empty()) {
        options.largestHole = wholeNumberFor("--fill-holes", raw.largestHole, 0, largestHole);
    }
    return options;
}

std::vector<Command> addMeshCommands(CLI::App& app) {
    return {addReconstruct(app), addCut(app)};
}

} // namespace cscan
