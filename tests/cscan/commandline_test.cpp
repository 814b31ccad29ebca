#include "apps/cscan/commands/commandline.h"

#include "Inspection/grids/derive.h"
#include "Inspection/parts/neighbours.h"
#include "Inspection/parts/reconstruction.h"
#include "Inspection/pictures/cscanimages.h"
#include "Inspection/pictures/preparedgrid.h"
#include "Inspection/records/version.h"
#include "Inspection/scanning/stripetest.h"
#include "apps/cscan/demo/demo.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>
#include <vector>

namespace cscan {
namespace {

CommandLine parsed(std::vector<char const*> arguments) {
    arguments.insert(arguments.begin(), "cscan");
    return parseCommandLine(static_cast<int>(arguments.size()), arguments.data());
}

std::string complaintOn(std::vector<char const*> const& arguments) {
    try {
        parsed(arguments);
    } catch (UsageError const& error) {
        return error.what();
    }
    return {};
}

template <class T>
T optionsOf(std::vector<char const*> const& arguments) {
    CommandLine const commandLine = parsed(arguments);
    return std::any_cast<T>(commandLine.options);
}

TEST(CommandLine, demoGoesIntoTheNamedDirectoryOrIntoOneOfItsOwn) {
    EXPECT_EQ(optionsOf<DemoOptions>({"demo"}).directory, "cscan-demo");
    EXPECT_EQ(optionsOf<DemoOptions>({"demo", "out/here"}).directory, "out/here");
}

TEST(CommandLine, prepareTriesBothModesUnlessToldOtherwise) {
    auto const drawn = optionsOf<DrawnPrepareOptions>({"prepare", "a.obj", "a.quads", "--quad-area", "0.25"});
    PrepareOptions const& options = drawn.prepare;
    EXPECT_EQ(options.part.file, "a.obj");
    EXPECT_EQ(options.grid, "a.quads");
    EXPECT_EQ(options.resolution.quadArea, 0.25);
    EXPECT_FALSE(options.mode.has_value());
    EXPECT_FALSE(options.flat.has_value());
    EXPECT_FALSE(options.isAccepted);
    EXPECT_EQ(options.unit, "");
    EXPECT_EQ(drawn.imagePrefix, "");
    auto const modeOf = [](char const* mode) {
        return optionsOf<DrawnPrepareOptions>({"prepare", "a.obj", "a.quads", "--mode", mode}).prepare.mode;
    };
    EXPECT_EQ(modeOf("pinned"), FlatteningMode::Pinned);
    EXPECT_EQ(modeOf("developable"), FlatteningMode::Developable);
    EXPECT_EQ(modeOf("auto"), std::nullopt);
}

TEST(CommandLine, prepareTakesAPixelAWidthOrAnArea) {
    auto const resolutionOf = [](char const* option, char const* value) {
        return optionsOf<DrawnPrepareOptions>({"prepare", "a.obj", "a.quads", option, value})
            .prepare.resolution;
    };
    EXPECT_EQ(resolutionOf("--pixel", "0.5").pixel, 0.5);
    EXPECT_FALSE(resolutionOf("--pixel", "0.5").quadArea.has_value());
    EXPECT_EQ(resolutionOf("--width", "300").width, 300U);
    EXPECT_EQ(resolutionOf("--quad-area", "1e-4").quadArea, 1e-4);
    auto const none = optionsOf<DrawnPrepareOptions>(
        {"prepare", "a.obj", "a.quads", "--accept", "--unit", "mm", "--flat", "f.obj", "--image", "out/a"});
    EXPECT_FALSE(none.prepare.resolution.pixel || none.prepare.resolution.width);
    EXPECT_TRUE(none.prepare.isAccepted);
    EXPECT_EQ(none.prepare.unit, "mm");
    EXPECT_EQ(none.prepare.flat, std::filesystem::path("f.obj"));
    EXPECT_EQ(none.imagePrefix, "out/a");
    EXPECT_FALSE(complaintOn({"prepare", "a.obj", "a.quads", "--pixel", "1", "--width", "5"}).empty());
    EXPECT_FALSE(complaintOn({"prepare", "a.obj", "a.quads", "--pixel", "1", "--quad-area", "5"}).empty());
    EXPECT_FALSE(complaintOn({"prepare", "a.obj", "a.quads", "--quad-area", "1", "--width", "5"}).empty());
}

TEST(CommandLine, scanTakesATableOfBeamsOrARaster) {
    auto const tableOptions = optionsOf<DrawnScanOptions>(
        {"scan", "g.quads", "--beams", "b.csv", "--csv", "h.csv", "--image", "p", "--flip-normals"});
    ScanOptions const& table = tableOptions.scan;
    EXPECT_EQ(table.beams, std::filesystem::path("b.csv"));
    EXPECT_FALSE(table.raster.has_value());
    EXPECT_TRUE(table.doFlipNormals);
    EXPECT_EQ(tableOptions.unit, "");
    auto const rasterOptions =
        optionsOf<DrawnScanOptions>({"scan", "g.quads", "--raster", "0.5", "--standoff", "10", "--direction",
                                     "-1, 0.5,-2e-1", "--csv", "h.csv", "--image", "p", "--unit", "mm"});
    ScanOptions const& raster = rasterOptions.scan;
    ASSERT_TRUE(raster.raster.has_value());
    EXPECT_FALSE(raster.beams.has_value());
    EXPECT_EQ(raster.raster->step, 0.5);
    EXPECT_EQ(raster.raster->standoff, 10.0);
    EXPECT_EQ(raster.raster->direction.getdX(), -1.0);
    EXPECT_EQ(raster.raster->direction.getdY(), 0.5);
    EXPECT_EQ(raster.raster->direction.getdZ(), -0.2);
    EXPECT_EQ(rasterOptions.unit, "mm");
    EXPECT_FALSE(raster.doFlipNormals);
}

TEST(CommandLine, scanSearchesSurelyUnlessTheWalkIsAskedFor) {
    std::vector<char const*> arguments{"scan",  "g.quads", "--beams", "b.csv",
                                       "--csv", "h.csv",   "--image", "p"};
    EXPECT_EQ(optionsOf<DrawnScanOptions>(arguments).scan.search, BeamSearch::Sure);
    EXPECT_FALSE(optionsOf<DrawnScanOptions>(arguments).scan.doCompare);
    arguments.insert(arguments.end(), {"--search", "walk", "--compare"});
    EXPECT_EQ(optionsOf<DrawnScanOptions>(arguments).scan.search, BeamSearch::Walk);
    EXPECT_TRUE(optionsOf<DrawnScanOptions>(arguments).scan.doCompare);
}

TEST(CommandLine, scanPlacesItsGridsInTheirOrder) {
    auto const options =
        optionsOf<DrawnScanOptions>({"scan",  "a.quads",  "b.quads", "--offset",   "0,3", "--offset",
                                     "12,0",  "--group",  "1",       "--group",    "0",   "--active",
                                     "5",     "--active", "2",       "--position", "2",   "--beams",
                                     "b.csv", "--csv",    "h.csv",   "--image",    "p"})
            .scan;
    ASSERT_EQ(options.grids.size(), 2U);
    EXPECT_TRUE(options.isOnPlane);
    EXPECT_EQ(options.position, 2U);
    EXPECT_EQ(options.grids[0].offset, GridOffset(0, 3));
    EXPECT_EQ(options.grids[1].offset, GridOffset(12, 0));
    EXPECT_EQ(options.grids[1].file, "b.quads");
    EXPECT_EQ(options.grids[0].group, 1U);
    EXPECT_EQ(options.grids[0].active, 5U);
    auto const single =
        optionsOf<DrawnScanOptions>({"scan", "a.quads", "--beams", "b.csv", "--csv", "h.csv", "--image", "p"})
            .scan;
    EXPECT_FALSE(single.isOnPlane);
    EXPECT_EQ(single.grids.at(0).file, "a.quads");
}

TEST(CommandLine, readsNumbersAlikeUnderADecimalComma) {
    std::string const before = std::setlocale(LC_ALL, nullptr);
    if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) {
        GTEST_SKIP() << "no locale with a decimal comma";
    }
    auto const options = optionsOf<DrawnPrepareOptions>(
                             {"prepare", "a.xyz", "a.quads", "--quad-area", "0.25", "--max-side", "1.5"})
                             .prepare;
    std::string const complaint = complaintOn({"prepare", "a.obj", "a.quads", "--quad-area", "0,25"});
    std::setlocale(LC_ALL, before.c_str());
    EXPECT_EQ(options.resolution.quadArea, 0.25);
    EXPECT_EQ(options.repair.longestSide, 1.5);
    EXPECT_EQ(complaint, "--quad-area: '0,25' is not a number");
}

TEST(CommandLine, valuesThatAreNotGivenAreThoseOfTheLibrary) {
    auto const options = optionsOf<SelftestOptions>({"selftest", "a.quads"});
    EXPECT_EQ(options.lineCount, SelftestOptions().lineCount);
    EXPECT_EQ(options.elementCount, SelftestOptions().elementCount);
    EXPECT_EQ(options.seed, SelftestOptions().seed);
    EXPECT_FALSE(options.pitch.has_value());
    EXPECT_EQ(optionsOf<ReconstructOptions>({"reconstruct", "a.xyz", "a.obj"}).repair.largestHole,
              RepairOptions().largestHole);
    EXPECT_EQ(optionsOf<NeighboursOptions>({"neighbours", "a.xyz", "--at", "1,2,3"}).count, 1U);
}

TEST(CommandLine, deriveTakesOneDerivation) {
    auto const derived = [](std::vector<char const*> arguments) {
        arguments.insert(arguments.begin(), {"derive", "a.quads", "b.quads"});
        return optionsOf<DeriveOptions>(arguments).derivation;
    };
    using QELT::Geometry::ThreeDimensional::QuadMesh::CanonicalAxis;
    using QELT::Geometry::ThreeDimensional::QuadMesh::CanonicalPlane;
    EXPECT_TRUE(std::holds_alternative<FlattenGrid>(derived({"--flatten"})));
    EXPECT_EQ(std::get<NormaliseGrid>(derived({"--normalise", "2.5"})).size, 2.5);
    EXPECT_FALSE(std::get<ThinOutGrid>(derived({"--subsample", "70"})).isFactor);
    EXPECT_TRUE(std::get<ThinOutGrid>(derived({"--factor", "7"})).isFactor);
    EXPECT_EQ(std::get<ThinOutGrid>(derived({"--factor", "7"})).value, 7U);
    EXPECT_EQ(std::get<RestrictGrid>(derived({"--restrict", "-1,2,3,4"})).low, GridIndex(-1, 2));
    auto const mirror = std::get<MirrorGrid>(derived({"--mirror", "xz", "--along", "v"}));
    EXPECT_EQ(mirror.plane, CanonicalPlane::PlaneXZ);
    EXPECT_EQ(mirror.axis, CanonicalAxis::AxisV);
    EXPECT_EQ(std::get<ScaleGrid>(derived({"--scale", "-2"})).scale, -2.0);
}

TEST(CommandLine, helpIsShownForTheProgramAndForEachCommand) {
    CommandLine const all = parsed({"--help"});
    EXPECT_FALSE(all.options.has_value());
    for (char const* command :
         {"demo",     "import",      "prepare", "path",   "scan",      "picture",   "indications",
          "export",   "view",        "info",    "fit",    "register",  "fit-frame", "neighbours",
          "selftest", "reconstruct", "cut",     "derive", "footprint", "simulate"}) {
        EXPECT_NE(all.help.find(command), std::string::npos) << command;
    }
    CommandLine const one = parsed({"prepare", "--help"});
    EXPECT_FALSE(one.options.has_value());
    EXPECT_NE(one.help.find("--quad-area"), std::string::npos);
}

TEST(CommandLine, helpIsACommandAsWell) {
    EXPECT_EQ(parsed({"help", "prepare"}).help, parsed({"prepare", "--help"}).help);
    EXPECT_EQ(parsed({"help"}).help, parsed({"--help"}).help);
    EXPECT_EQ(parsed({"help", "help"}).help, parsed({"--help"}).help);
    EXPECT_NE(parsed({"help", "--help"}).help.find("COMMAND"), std::string::npos);
    EXPECT_NE(parsed({"--help"}).help.find("help "), std::string::npos);
    EXPECT_EQ(complaintOn({"help", "fly"}), "help: there is no command 'fly'");
    EXPECT_NE(complaintOn({"help", "prepare", "scan"}), "");
    EXPECT_EQ(complaintOn({"help", "--", "prepare"}), "help: give one command");
}

TEST(CommandLine, theVersionIsThatOfTheLibrary) {
    CommandLine const version = parsed({"--version"});
    EXPECT_FALSE(version.options.has_value());
    EXPECT_EQ(version.help, "cscan " + libraryVersion() + "\n");
}

TEST(CommandLine, complainsInOneLineOnWhatIsMissingOrUnknown) {
    std::vector<std::vector<char const*>> const wrong = {
        {},
        {"fly"},
        {"--fly"},
        {"demo", "a", "b"},
        {"info"},
        {"prepare", "a.obj", "--quad-area", "1"},
        {"prepare", "a.obj", "a.quads", "--pixel", "1", "--width", "5"},
        {"prepare", "a.obj", "a.quads", "--quad-area", "1", "--mode", "conical"},
        {"scan", "g.quads", "--csv", "h", "--image", "p"},
        {"scan", "g.quads", "--beams", "b", "--csv", "h"},
        {"scan", "g.quads", "--beams", "b", "--image", "p"},
        {"scan", "g.quads", "--raster", "1", "--csv", "h", "--image", "p"},
        {"scan", "g.quads", "--raster", "1", "--standoff", "1", "--csv", "h", "--image", "p"},
        {"scan", "g.quads", "--beams", "b", "--standoff", "1", "--csv", "h", "--image", "p"},
        {"scan", "g.quads", "--beams", "b", "--raster", "1", "--standoff", "1", "--direction", "0,0,1",
         "--csv", "h", "--image", "p"},
    };
    for (auto const& arguments : wrong) {
        std::string const complaint = complaintOn(arguments);
        std::string const last = arguments.empty() ? "" : arguments.back();
        EXPECT_FALSE(complaint.empty()) << arguments.size() << " " << last;
        EXPECT_EQ(complaint.find('\n'), std::string::npos) << complaint;
    }
}

TEST(CommandLine, namesTheOptionOfABadNumber) {
    EXPECT_EQ(complaintOn({"prepare", "a.obj", "a.quads", "--quad-area", "big"}),
              "--quad-area: 'big' is not a number");
    EXPECT_EQ(complaintOn({"prepare", "a.obj", "a.quads", "--quad-area", "0"}),
              "--quad-area: '0' is not above zero");
    EXPECT_EQ(complaintOn({"prepare", "a.obj", "a.quads", "--quad-area", "-1"}),
              "--quad-area: '-1' is not above zero");
    EXPECT_EQ(complaintOn({"prepare", "a.obj", "a.quads", "--quad-area", "nan"}),
              "--quad-area: 'nan' is not a number");
}

std::string complaintOnRaster(char const* step, char const* standoff, char const* direction) {
    return complaintOn({"scan", "g.quads", "--raster", step, "--standoff", standoff, "--direction", direction,
                        "--csv", "h", "--image", "p"});
}

TEST(CommandLine, namesTheOptionOfABadRaster) {
    EXPECT_EQ(complaintOnRaster("-1", "1", "0,0,1"), "--raster: '-1' is not above zero");
    EXPECT_EQ(complaintOnRaster("1", "-1", "0,0,1"), "--standoff: '-1' is below zero");
    EXPECT_EQ(complaintOnRaster("1", "1mm", "0,0,1"), "--standoff: '1mm' is not a number");
    EXPECT_EQ(complaintOnRaster("1", "1", "0,0"), "--direction: '0,0' is not of the form X,Y,Z");
    EXPECT_EQ(complaintOnRaster("1", "1", "0,0,1,2"), "--direction: '0,0,1,2' is not of the form X,Y,Z");
    EXPECT_EQ(complaintOnRaster("1", "1", "0,up,1"), "--direction: 'up' is not a number");
    EXPECT_EQ(complaintOnRaster("1", "1", "0,0,0"), "--direction: '0,0,0' has no usable length");
    EXPECT_EQ(complaintOnRaster("1", "1", "1e200,0,0"), "--direction: '1e200,0,0' has no usable length");
}

} // namespace
} // namespace cscan
