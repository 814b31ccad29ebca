// What is left of a run that fails, is interrupted or is killed, and what is told of one that succeeds.

#include "Inspection/grids/gridfile.h"
#include "Inspection/pages/view.h"
#include "Inspection/parts/facemesh.h"
#include "Inspection/results/resultfile.h"
#include "simulation/bladepart.h"
#include "tests/cscan/spawn.h"
#include "tests/inspection/sampleresults.h"
#include "tests/support/watched.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace cscan {
namespace {

using namespace Testing;
using Arguments = std::vector<std::string>;
using Contents = std::map<std::string, std::string>;

constexpr int around = 24;
constexpr int rings = 12;

/// A tube of radius 5 around z whose upper rim is uneven, so that one vertex is highest.
FaceMesh tube() {
    FaceMesh mesh;
    for (int k = 0; k <= rings; ++k) {
        for (int i = 0; i < around; ++i) {
            double const angle = 6.2831853 * i / around + 0.03 * (k - rings);
            mesh.points.emplace_back(5.0 * std::cos(angle), 5.0 * std::sin(angle),
                                     k + 0.01 * std::cos(angle));
        }
    }
    for (unsigned k = 0; k < rings; ++k) {
        for (unsigned i = 0; i < around; ++i) {
            unsigned const a = k * around + i;
            unsigned const b = k * around + (i + 1) % around;
            mesh.faces.push_back({a, b, b + around});
            mesh.faces.push_back({a, b + around, a + around});
        }
    }
    return mesh;
}

std::string cloud() {
    std::string points;
    for (int i = 0; i < 60; ++i) {
        points += std::to_string(i % 8 + 0.01 * i) + " " + std::to_string(i / 8 + 0.002 * i * i) + " 0\n";
    }
    return points;
}

/// A run of a command that writes: what it reads is made by `makeInputs`.
struct Writing {
    Arguments arguments;
    std::vector<std::string> results;
};

void makeInputs(ScratchDirectory const& directory) {
    writeFaces(QELT::Simulation::measuredBlade({60, 8, 0.003, 7}), directory / "part.obj");
    writeFaces(tube(), directory / "tube.obj");
    writeText(directory / "cloud.xyz", cloud());
    writeText(directory / "part.off", "OFF\n4 1 0\n0 0 0\n1 0 0\n1 1 0\n0 1 0\n4 0 1 2 3\n");
    Grid grid;
    ASSERT_TRUE(grid.setAsPlane({20.0, 20.0}, 0.5, false, 10));
    saveGrid(grid, directory / "in.quads");
    Result result = resultOn(40, 30, flat(0.5));
    measure(result, [](Vector const& point) { return point.getdX() > 9.0 ? 60.0 : point.getdY(); });
    writeResult(directory / "in.h5", result);
}

std::vector<Writing> makeWritings() {
    std::vector<Writing> all{
        {{"prepare", "part.obj", "out.quads", "--quad-area", "4", "--mode", "pinned", "--flat", "flat.obj"},
         {"out.quads", "flat.obj"}},
        {{"cut", "tube.obj", "slit.obj", "--metric", "max", "--axis", "z", "--across", "x"},
         {"slit.obj", "slit.obj\\slit_cut_indices.txt"}},
        {{"derive", "in.quads", "derived.quads", "--mirror", "yz"}, {"derived.quads"}},
        {{"reconstruct", "cloud.xyz", "cloud.obj"}, {"cloud.obj"}},
        {{"import", "part.off", "imported.obj"}, {"imported.obj"}},
        {{"import", "part.off", "imported.xyz"}, {"imported.xyz"}},
        {{"scan", "in.quads", "--raster", "1", "--standoff", "5", "--direction", "0,0,-1", "--csv",
          "hits.csv", "--image", "scan"},
         {"hits.csv", "scan_distance.png", "scan_angle.png", "scan_coverage.png"}},
        {{"footprint", "in.quads", "--origin", "10.1,10.2,5", "--axis-a", "1,0,0", "--axis-b", "0,-1,0",
          "--cotangent", "5", "--aperture", "1", "--image", "foot.png"},
         {"foot.png"}},
        {{"indications", "in.h5", "found.csv", "--value", "amplitude", "--threshold", "50", "--image",
          "found.png", "--poses", "poses.csv", "--standoff", "20"},
         {"found.csv", "found.png", "poses.csv"}},
        {{"export", "in.h5", "out.vtm"}, {"out.vtm", "out_0.vts"}},
        {{"export", "in.h5", "out.ply"}, {"out.ply"}},
        {{"export", "in.h5", "out.npz"}, {"out.npz"}},
        {{"export", "in.h5", "out.tif"}, {"out.tif"}},
    };
    if (hasPage()) {
        all.push_back({{"view", "in.quads", "page.html"}, {"page.html"}});
    }
    return all;
}

std::vector<Writing> const& writings() {
    static std::vector<Writing> const all = makeWritings();
    return all;
}

bool isCut(std::string const& name) {
    return name.find('\\') != std::string::npos;
}

/// How much a run may write whose largest file has that many bytes; fewer cases under a sanitizer, where each
/// run takes long to begin.
std::vector<std::uint64_t> limitsBelow(std::uint64_t largest) {
    if (QELT::Testing::isWatched) {
        return {0, 200, largest - 1};
    }
    return {0, 1, 200, largest / 3, largest / 2, largest - 1};
}

TEST(Outputs, ofARunThatMayWriteTooLittleLeaveWhatWasThere) {
    for (Writing const& writing : writings()) {
        SCOPED_TRACE(writing.arguments.front());
        ScratchDirectory const directory;
        makeInputs(directory);
        Process good(directory, writing.arguments);
        ASSERT_EQ(good.wait(), 0) << good.getErrors();
        std::uint64_t largest = 0;
        for (std::string const& result : writing.results) {
            largest = std::max(largest, std::uint64_t{std::filesystem::file_size(directory / result)});
            writeText(directory / result, "old " + result);
        }
        Contents const before = contentsOf(directory);
        for (std::uint64_t const limit : limitsBelow(largest)) {
            Process process(directory, writing.arguments, limit);
            int const status = process.wait();
            ASSERT_TRUE(WIFEXITED(status)) << limit;
            EXPECT_EQ(WEXITSTATUS(status), 1) << limit;
            auto const complaints = complaintsIn(process.getErrors());
            ASSERT_EQ(complaints.size(), 1U) << process.getErrors();
            EXPECT_EQ(complaints[0].find("unfinished"), std::string::npos) << complaints[0];
            EXPECT_EQ(contentsOf(directory), before) << limit;
        }
    }
}

TEST(Outputs, ofADemonstrationThatMayWriteTooLittleLeaveNothing) {
    ScratchDirectory const directory;
    Process process(directory, {"demo", "new/demo"}, 100000);
    EXPECT_EQ(WEXITSTATUS(process.wait()), 1);
    EXPECT_EQ(contentsOf(directory), Contents());
}

TEST(Outputs, areRefusedWhereTheyAreInputs) {
    ScratchDirectory const directory;
    makeInputs(directory);
    writeText(directory / "beams.csv", "ox,oy,oz,dx,dy,dz\n1,1,5,0,0,-1\n");
    std::filesystem::create_directories(directory / "a");
    std::filesystem::create_symlink("in.quads", directory / "link.quads");
    Contents const before = contentsOf(directory);
    auto const prepare = [](std::string const& grid, std::string const& flat) {
        return Arguments{"prepare", "part.obj", grid, "--quad-area", "4", "--flat", flat};
    };
    auto const scan = [](std::string const& table, std::string const& prefix) {
        return Arguments{"scan", "in.quads", "--beams", "beams.csv", "--csv", table, "--image", prefix};
    };
    std::filesystem::copy_file(directory / "in.quads", directory / "x_angle.png");
    std::vector<Mistake> const mistakes = {
        {prepare("out.quads", "part.obj"), "part.obj: is also the input"},
        {prepare("out.quads", "./a/../part.obj"), "./a/../part.obj: is also the input part.obj"},
        {{"cut", "tube.obj", "tube.obj", "--metric", "max", "--axis", "z", "--across", "x"},
         "tube.obj: is also the input"},
        {{"derive", "in.quads", "in.quads", "--factor", "2"}, "in.quads: is also the input"},
        {{"derive", "in.quads", "link.quads", "--factor", "2"}, "link.quads: is also the input in.quads"},
        {{"derive", "link.quads", "in.quads", "--factor", "2"}, "in.quads: is also the input link.quads"},
        {{"import", "tube.obj", "a/../tube.obj"}, "a/../tube.obj: is also the input tube.obj"},
        {scan("in.quads", "x"), "in.quads: is also the input"},
        {scan("beams.csv", "x"), "beams.csv: is also the input"},
        {scan("x_angle.png", "x"), "x_angle.png: is to be written twice"},
        {scan("x_angle.png", "a/../x"), "a/../x_angle.png: is to be written twice, as x_angle.png too"},
        {{"scan", "x_angle.png", "--beams", "beams.csv", "--csv", "y.csv", "--image", "x"},
         "x_angle.png: is also the input"},
        {{"footprint", "in.quads", "--origin", "1,1,5", "--axis-a", "1,0,0", "--axis-b", "0,-1,0",
          "--cotangent", "5", "--aperture", "1", "--image", "in.quads"},
         "in.quads: is also the input"},
    };
    for (Mistake const& mistake : mistakes) {
        expectComplaint(directory, mistake);
    }
    Contents after = contentsOf(directory);
    for (char const* const name : {"stdout.txt", "stderr.txt", "x_angle.png"}) {
        after.erase(name);
    }
    EXPECT_EQ(after, before);
}

TEST(Outputs, ofReconstructionsAreRefusedWhereTheyAreInputs) {
    ScratchDirectory const directory;
    writeText(directory / "cloud.xyz", cloud());
    std::filesystem::create_symlink("cloud.xyz", directory / "link.obj");
    expectComplaint(directory,
                    {{"reconstruct", "cloud.xyz", "link.obj"}, "link.obj: is also the input cloud.xyz"});
    expectComplaint(directory, {{"prepare", "cloud.xyz", "cloud.xyz", "--quad-area", "1"},
                                "cloud.xyz: the name of a grid file must end in .quads"});
    EXPECT_EQ(readText(directory / "cloud.xyz"), cloud());
}

TEST(Outputs, carryARecordOfTheSameBytesForTheSameRun) {
    for (Writing const& writing : writings()) {
        SCOPED_TRACE(writing.arguments.front());
        ScratchDirectory const directory;
        makeInputs(directory);
        Process first(directory, writing.arguments);
        ASSERT_EQ(first.wait(), 0) << first.getErrors();
        Contents const once = contentsOf(directory);
        Process second(directory, writing.arguments);
        ASSERT_EQ(second.wait(), 0) << second.getErrors();
        EXPECT_EQ(contentsOf(directory), once);
        for (std::string const& result : writing.results) {
            if (isCut(result)) {
                continue;
            }
            std::string const record = readText(directory / (result + ".json"));
            EXPECT_NE(record.find("\"command\": \"" + writing.arguments.front() + "\""), std::string::npos);
            EXPECT_NE(record.find("\"file\": \"" + writing.arguments[1] + "\""), std::string::npos) << record;
            EXPECT_EQ(record.find(directory.get().string()), std::string::npos) << record;
        }
    }
}

TEST(Outputs, recordNoPathWhateverTheCommandLineNames) {
    ScratchDirectory const directory;
    makeInputs(directory);
    std::string const folder = directory.get().string() + "/";
    ASSERT_EQ(run(directory, {"derive", folder + "in.quads", folder + "d.quads", "--flatten"}).status, 0);
    std::string const record = readText(directory / "d.quads.json");
    EXPECT_NE(record.find("\"in.quads\""), std::string::npos) << record;
    EXPECT_EQ(record.find('/'), std::string::npos) << record;
}

TEST(Outputs, areToldByInfoWithTheirRecords) {
    ScratchDirectory const directory;
    makeInputs(directory);
    for (Writing const& writing : writings()) {
        ASSERT_EQ(run(directory, writing.arguments).status, 0);
        for (std::string const& result : writing.results) {
            if (isCut(result) || result.ends_with(".xyz")) {
                continue;
            }
            Outcome const info = run(directory, {"info", result});
            EXPECT_EQ(info.status, 0) << info.errors;
            EXPECT_EQ(itemIn(info.output, "  made by").rfind(writing.arguments.front() + ", version ", 0), 0U)
                << info.output;
            EXPECT_EQ(itemIn(info.output, "  fits"), "yes") << info.output;
            std::string bytes = readText(directory / result);
            bytes.back() = static_cast<char>(bytes.back() ^ 1);
            writeText(directory / result, bytes);
        }
    }
    std::string const tampered = run(directory, {"info", "derived.quads"}).output;
    EXPECT_EQ(itemIn(tampered, "  fits"), "no");
    EXPECT_EQ(itemIn(tampered, "note"), "the record does not fit: derived.quads is not as it was written");
    std::string const table = run(directory, {"info", "hits.csv"}).output;
    EXPECT_EQ(itemIn(table, "heading"), "u,v,x,y,z,distance,angle,valid,state");
    EXPECT_EQ(itemIn(table, "  fits"), "no");
}

/// Kills the program once what it is writing has grown so far.
void killWhenWritten(ScratchDirectory const& directory, Arguments const& arguments, std::string const& result,
                     std::uint64_t size) {
    Process process(directory, arguments);
    auto const unfinished = directory / (result + ".unfinished");
    std::error_code absent;
    while (process.isRunning()) {
        auto const written = std::filesystem::file_size(unfinished, absent);
        if (!absent && written >= size) {
            break;
        }
    }
    process.send(SIGKILL);
    process.wait();
}

TEST(Outputs, ofAKilledRunLeaveTheEarlierFile) {
    ScratchDirectory const directory;
    Grid grid;
    ASSERT_TRUE(grid.setAsPlane({700.0, 700.0}, 1.0, false, 100));
    saveGrid(grid, directory / "in.quads");
    Arguments const derive{"derive", "in.quads", "out.quads", "--scale", "2"};
    Process good(directory, derive);
    ASSERT_EQ(good.wait(), 0);
    std::string const whole = readText(directory / "out.quads");
    for (std::uint64_t const size : {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{100000},
                                     std::uint64_t{whole.size() / 2}, std::uint64_t{whole.size()}}) {
        writeText(directory / "out.quads", "the earlier file");
        killWhenWritten(directory, derive, "out.quads", size);
        std::string const left = readText(directory / "out.quads");
        EXPECT_TRUE(left == "the earlier file" || left == whole) << left.size();
    }
    ASSERT_EQ(run(directory, derive).status, 0);
    EXPECT_EQ(readText(directory / "out.quads"), whole);
    EXPECT_FALSE(std::filesystem::exists(directory / "out.quads.unfinished"));
}

TEST(Outputs, ofAnInterruptedRunLeaveWhatWasThereAndNothingElse) {
    ScratchDirectory const directory;
    writeFaces(QELT::Simulation::measuredBlade({500, 60, 0.003, 7}), directory / "part.obj");
    writeText(directory / "out.quads", "the earlier file");
    writeText(directory / "flat.obj", "the earlier map");
    Contents const before = contentsOf(directory);
    for (int const signal : {SIGINT, SIGTERM, SIGHUP}) {
        Process process(directory, {"prepare", "part.obj", "out.quads", "--quad-area", "0.05", "--mode",
                                    "developable", "--flat", "flat.obj"});
        process.waitForWord();
        process.send(signal);
        int const status = process.wait();
        EXPECT_TRUE(WIFSIGNALED(status)) << signal << " " << process.getErrors();
        EXPECT_EQ(WTERMSIG(status), signal);
        EXPECT_EQ(complaintsIn(process.getErrors()), std::vector<std::string>{"interrupted"});
        EXPECT_EQ(contentsOf(directory), before);
    }
}

/// Its descent asks nobody: after a second the program ends all the same, since nothing is half written.
TEST(Outputs, areNotNeededToStopAFitThatTakesMinutes) {
    ScratchDirectory const directory;
    std::string text;
    for (int i = 0; i < 400; ++i) {
        double const x = std::cos(i * 1.7) * std::sqrt(i / 400.0);
        double const y = std::sin(i * 1.7) * std::sqrt(i / 400.0);
        text += std::to_string(x) + " " + std::to_string(y) + " " +
                std::to_string(0.1 * x * x + 0.03 * std::sin(40.0 * x * y)) + "\n";
    }
    writeText(directory / "cloud.xyz", text);
    Process process(directory, {"fit", "paraboloid", "cloud.xyz"});
    process.waitForWord();
    process.send(SIGINT);
    int const status = process.wait();
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGINT) << process.getErrors();
}

TEST(Outputs, ofAnInterruptedScanLeaveNothing) {
    ScratchDirectory const directory;
    makeInputs(directory);
    Contents const before = contentsOf(directory);
    Process process(directory, {"scan", "in.quads", "--raster", "0.01", "--standoff", "5", "--direction",
                                "0,0,-1", "--csv", "hits.csv", "--image", "scan"});
    process.waitForWord();
    process.send(SIGINT);
    int const status = process.wait();
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGINT) << process.getErrors();
    EXPECT_EQ(contentsOf(directory), before);
}

TEST(Outputs, ofAnInterruptedDemonstrationLeaveNothing) {
    ScratchDirectory const directory;
    Process process(directory, {"demo", "new/demo"});
    process.waitForWord();
    process.send(SIGTERM);
    int const status = process.wait();
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM) << process.getErrors();
    EXPECT_EQ(contentsOf(directory), Contents());
}

TEST(Outputs, goThroughTheStandardStreams) {
    ScratchDirectory const directory;
    makeInputs(directory);
    Arguments const scan{"scan",        "in.quads", "--raster", "1",           "--standoff", "5",
                         "--direction", "0,0,-1",   "--csv",    "/dev/stdout", "--image",    "scan"};
    Outcome const outcome = run(directory, scan);
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_NE(outcome.output.find("hit rate"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists("/dev/stdout.json"));
    EXPECT_TRUE(std::filesystem::exists(directory / "scan_angle.png.json"));
}

} // namespace
} // namespace cscan
