#include "simulation/simulate.h"

#include "Inspection/import/part.h"
#include "Inspection/records/record.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <sstream>
#include <string>

namespace QELT::Simulation {
namespace {

using Inspection::Testing::messageOf;
using Inspection::Testing::readText;
using Inspection::Testing::ScratchDirectory;
using Inspection::Testing::writeText;

SimulateOptions smallOptions(std::filesystem::path const& folder) {
    SimulateOptions options;
    options.setup = caseOf("cap");
    options.setup.meshSide = 10.0;
    options.setup.sweep.from = {-8.0, -8.0};
    options.setup.sweep.to = {8.0, 8.0};
    options.setup.instrument.noise = 0.5;
    options.setup.dropouts.lines = {2};
    options.folder = folder;
    return options;
}

TEST(Simulate, WritesTheSameBytesAgain) {
    ScratchDirectory const directory;
    SimulateOptions const options = smallOptions(directory / "one");
    SimulateOptions const again = smallOptions(directory / "two");
    auto const files = simulate(options, nullptr).files;
    simulate(again, nullptr);
    ASSERT_EQ(4U, files.size());
    for (auto const& file : files) {
        auto const other = directory / "two" / file.filename();
        EXPECT_EQ(readText(file), readText(other)) << file;
        EXPECT_EQ(readText(file.string() + ".json"), readText(other.string() + ".json")) << file;
    }
}

TEST(Simulate, SaysOnEveryFileThatItIsSimulated) {
    ScratchDirectory const directory;
    auto options = smallOptions(directory / "out");
    options.setup.clocks = Clocks{};
    auto const files = simulate(options, nullptr).files;
    ASSERT_EQ(5U, files.size());
    for (auto const& file : files) {
        EXPECT_NE(std::string::npos, readText(file).substr(0, 100).find("simulated")) << file;
    }
}

TEST(Simulate, WritesAPartThatIsReadAgain) {
    ScratchDirectory const directory;
    auto const result = simulate(smallOptions(directory / "out"), nullptr);
    EXPECT_EQ(84U + 50U * result.triangleCount, std::filesystem::file_size(directory / "out/part.stl"));
    for (char const* const name : {"out/part.stl", "out/part.obj"}) {
        auto const part = Inspection::loadPart(directory / name);
        EXPECT_EQ(result.triangleCount, part.triangles.size()) << name;
        EXPECT_EQ(1U + 3U * 6U * 7U, part.points.size()) << name;
    }
}

TEST(Simulate, TellsTheTruth) {
    ScratchDirectory const directory;
    auto options = smallOptions(directory / "out");
    options.cell.frame = {rotationZyx(90.0, 0.0, 0.0), Vector(1.0, 2.0, 3.0)};
    simulate(options, nullptr);
    auto const truth = nlohmann::json::parse(readText(directory / "out/truth.json"));
    EXPECT_TRUE(truth.at("simulated").get<bool>());
    EXPECT_EQ("cap", truth.at("part"));
    EXPECT_EQ(4U, truth.at("flaws").size());
    auto const& flaw = truth.at("flaws")[1];
    EXPECT_EQ("disc at 20 degrees", flaw.at("name"));
    EXPECT_EQ(17.101007166, flaw.at("centre")[0].get<double>());
    EXPECT_EQ(0.342020143, flaw.at("normal")[0].get<double>());
    EXPECT_EQ(4.0, flaw.at("depth").get<double>());
    EXPECT_NEAR(50.23868, flaw.at("area").get<double>(), 1e-5);
    EXPECT_EQ(17, truth.at("sweep").at("lines"));
    EXPECT_EQ(17 * 17, truth.at("sweep").at("shots"));
    EXPECT_EQ(17, truth.at("dropped").at("shots"));
    auto const& lost = truth.at("dropped").at("lines")[0];
    EXPECT_EQ(2, lost.at("line"));
    // From (-8, -6) to (8, -6): ten millimetres from the pole along the sphere.
    EXPECT_NEAR(50.0 * std::cos(0.2), lost.at("from")[2].get<double>(), 1e-8);
    EXPECT_NEAR(0.8 * 50.0 * std::sin(0.2), lost.at("to")[0].get<double>(), 1e-8);
    auto const& matrix = truth.at("frameFromCellToPart").at("matrix");
    EXPECT_EQ((nlohmann::json{{0.0, -1.0, 0.0, 1.0}, {1.0, 0.0, 0.0, 2.0}, {0.0, 0.0, 1.0, 3.0}}), matrix);
    EXPECT_FALSE(truth.contains("clocks"));
}

TEST(Simulate, RecordsWhatItDid) {
    ScratchDirectory const directory;
    simulate(smallOptions(directory / "out"), nullptr);
    auto const record = nlohmann::json::parse(readText(directory / "out/shots.csv.json"));
    EXPECT_EQ("simulate", record.at("command"));
    EXPECT_TRUE(record.at("settings").at("simulated").get<bool>());
    EXPECT_EQ(0.5, record.at("settings").at("noise"));
    EXPECT_EQ("mm", record.at("units").at("length"));
    EXPECT_EQ(16 * 17, record.at("figures").at("shots"));
}

TEST(Simulate, FiresAtThePosesOfAPlannedPath) {
    ScratchDirectory const directory;
    writeText(directory / "path.csv", "line,run,kind,ox,oy,oz,dx,dy,dz,qw,qx,qy,qz,s\n"
                                      "0,0,scan,0,0,65,0,0,-1,0,1,0,0,0\n"
                                      "0,0,lift,0,0,95,0,0,-1,0,1,0,0,30\n"
                                      "1,1,scan,65,0,5,-1,0,0,0,1,0,0,60\n");
    auto options = smallOptions(directory / "out");
    options.setup.dropouts.lines.clear();
    options.setup.instrument.noise = 0.0;
    options.path = directory / "path.csv";
    auto const measurement = simulate(options, nullptr).measurement;
    ASSERT_EQ(2U, measurement.shots.size());
    EXPECT_NEAR(2.0 * 15.0 / 1.48, measurement.shots[0].reading.front.value(), 1e-9);
    EXPECT_NEAR(2.0 * 4.0 / 2.9, measurement.shots[0].reading.tof.value(), 1e-9); // the disc at the pole
    EXPECT_FALSE(measurement.shots[1].reading.front);                             // beside the cap
    EXPECT_EQ(1U, measurement.shots[1].pose.line);

    options.setup.clocks = Clocks{};
    EXPECT_EQ("a planned path is measured on one clock: leave out lag and jitter",
              messageOf([&] { simulate(options, nullptr); }));
}

TEST(BinaryStl, IsLittleEndianWithNormals) {
    FaceMesh mesh;
    mesh.points = {Point(0.0, 0.0, 0.0), Point(1.0, 0.0, 0.0), Point(0.0, 2.0, 0.0)};
    mesh.faces = {{0, 1, 2}};
    std::ostringstream output;
    writeBinaryStl(output, mesh);
    std::string const text = output.str();
    ASSERT_EQ(134U, text.size());
    EXPECT_EQ(std::string("\x01\0\0\0", 4), text.substr(80, 4));
    EXPECT_EQ(std::string("\0\0\0\0\0\0\0\0\0\0\x80\x3f", 12), text.substr(84, 12));
    EXPECT_EQ(std::string("\0\0\0\0\0\0\0\x40\0\0\0\0\0\0", 14), text.substr(120, 14));
}

} // namespace
} // namespace QELT::Simulation
