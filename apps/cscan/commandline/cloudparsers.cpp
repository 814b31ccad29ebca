#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commandline/commandparsers.h"

#include <CLI/CLI.hpp>
#include <memory>

namespace cscan {

namespace {

Command addFit(CLI::App& app) {
    struct Raw {
        std::string surface;
        FitOptions options;
    };

    auto const raw = std::make_shared<Raw>();
    CLI::App* const fit = app.add_subcommand("fit", "Fit a surface to a cloud of points");
    fit->add_option(
           "SURFACE", raw->surface,
           "sphere, cylinder, or paraboloid; a paraboloid's first point should be its vertex and z near its "
           "axis, and it takes minutes")
        ->check(CLI::IsMember({"sphere", "cylinder", "paraboloid"}))
        ->required();
    fit->add_option("CLOUD", raw->options.cloud,
                    "Points, an .xyz file of x y z a line; for a cylinder x y z nx ny nz")
        ->required();
    return {fit, [raw] {
                FitOptions options = raw->options;
                options.surface = raw->surface == "sphere"     ? FitSurface::Sphere
                                  : raw->surface == "cylinder" ? FitSurface::Cylinder
                                                               : FitSurface::Paraboloid;
                return options;
            }};
}

Command addRegister(CLI::App& app) {
    auto const options = std::make_shared<RegisterOptions>();
    CLI::App* const registration =
        app.add_subcommand("register", "Find the map that takes points to their places");
    registration
        ->add_option("PAIRS", options->pairs,
                     "A table with the heading sx,sy,sz,tx,ty,tz: three pairs for a rigid motion, four for "
                     "an affine map")
        ->required();
    return {registration, [options] { return *options; }};
}

Command addNeighbours(CLI::App& app) {
    struct Raw {
        NeighboursOptions options;
        std::string place;
        std::string count = "1";
    };

    auto const raw = std::make_shared<Raw>();
    CLI::App* const neighbours = app.add_subcommand(
        "neighbours", "Find points of a cloud near a place; the search may miss some of the nearest");
    neighbours->add_option("CLOUD", raw->options.cloud, "Points, an .xyz file")->required();
    neighbours->add_option("--at", raw->place, "The place")->type_name("X,Y,Z")->required();
    neighbours->add_option("-k", raw->count, "How many points")->type_name("K")->capture_default_str();
    return {neighbours, [raw] {
                NeighboursOptions options = raw->options;
                options.place = pointFor("--at", raw->place);
                options.count = wholeNumberFor("-k", raw->count, 1);
                return options;
            }};
}

} // namespace

std::vector<Command> addCloudCommands(CLI::App& app) {
    return {addFit(app), addRegister(app), addNeighbours(app)};
}

} // namespace cscan
