// A result on paper, through the program.

#include "Inspection/grids/gridfile.h"
#include "tests/cscan/program.h"

#include <gtest/gtest.h>

namespace cscan {
namespace {

using namespace Testing;

/// Five pixels in a row, all shot.
void makeResult(ScratchDirectory const& directory) {
    Grid grid;
    ASSERT_TRUE(grid.setAsPlane({5.0, 1.0}, 1.0, false, 10));
    for (int v = 0; v <= 1; ++v) {
        for (int u = 0; u <= 5; ++u) {
            grid.setPoint(GridIndex(u, v), Point(static_cast<float>(u), static_cast<float>(v), 0.0F));
        }
    }
    saveGrid(grid, directory / "g.quads");
    std::ofstream shots(directory / "shots.csv");
    shots << "ox,oy,oz,dx,dy,dz,amplitude[%FSH]\n";
    for (int u = 0; u < 5; ++u) {
        shots << u + 0.5 << ",0.4,20,0,0,-1," << 10 * u + 20 << '\n';
    }
    shots.close();
    Outcome const outcome =
        run(directory, {"scan", "g.quads", "--data", "shots.csv", "--result", "r.h5", "--unit", "mm"});
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
}

TEST(ReportCommand, writesAPageWithTheInspectorsFields) {
    ScratchDirectory const directory;
    makeResult(directory);
    writeText(directory / "f.json", R"({"part": "Blade 7", "batch": "B-12"})");
    Outcome const outcome = run(directory, {"report", "r.h5", "out.html", "--fields", "f.json"});

    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(itemIn(outcome.output, "page"), "out.html");
    EXPECT_EQ(itemIn(outcome.output, "pictures"), "4");
    std::string const page = readText(directory / "out.html");
    EXPECT_EQ(itemIn(outcome.output, "size"), std::to_string(page.size()) + " bytes");
    EXPECT_NE(page.find("<h1>C-scan report: Blade 7</h1>"), std::string::npos);
    EXPECT_NE(page.find("Batch</th><td>B-12</td>"), std::string::npos);
    EXPECT_TRUE(std::filesystem::exists(directory / "out.html.json"));
}

TEST(ReportCommand, aChangedInputEndsWithStatus3AndThePageTellsIt) {
    ScratchDirectory const directory;
    makeResult(directory);
    writeText(directory / "shots.csv", "another");
    Outcome const outcome = run(directory, {"report", "r.h5", "out.html"});

    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(itemIn(outcome.output, "changed"), "shots.csv is not as it was when scanned");
    EXPECT_EQ(itemIn(outcome.output, "verdict"),
              "NOT fit: the result, or what it was made of, is not as recorded");
    EXPECT_NE(readText(directory / "out.html").find("Input shots.csv is not as it was when scanned."),
              std::string::npos);
}

TEST(ReportCommand, aMissingInputIsToldAndFoundWhereItIsSaidToBe) {
    ScratchDirectory const directory;
    makeResult(directory);
    std::filesystem::create_directories(directory / "in");
    std::filesystem::rename(directory / "shots.csv", directory / "in/shots.csv");
    Outcome const outcome = run(directory, {"report", "r.h5", "out.html"});

    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(itemIn(outcome.output, "not found"), "shots.csv; --inputs names the folder where it is");
    Outcome const found = run(directory, {"report", "r.h5", "out.html", "--inputs", "in"});
    EXPECT_EQ(found.status, 0);
    EXPECT_EQ(itemIn(found.output, "not found"), "");
}

TEST(ReportCommand, saysInOneLineWhatIsWrong) {
    ScratchDirectory const directory;
    makeResult(directory);
    writeText(directory / "f.json", "{");
    std::vector<Mistake> const mistakes = {
        {{"report", "r.h5", "out.html", "--fields", "f.json"},
         "f.json: is no JSON object, such as {\"part\": \"Blade 7\", \"operator\": \"...\"}"},
        {{"report", "g.quads", "out.html"},
         "g.quads: is no result of a scan; 'cscan scan --data' writes one"},
        {{"report", "r.h5", "r.h5"}, "r.h5: is also the input"},
        {{"report", "r.h5", "out.html", "--value", "height"},
         "there is no value 'height'; the result has amplitude:max, standoff:mean, incidence:max"},
    };
    for (Mistake const& mistake : mistakes) {
        expectComplaint(directory, mistake);
    }
    EXPECT_FALSE(std::filesystem::exists(directory / "out.html"));
}

} // namespace
} // namespace cscan
