// Files in a cell's coordinates, taken to the part's by the frame that `register` wrote, through the program.

#include "Inspection/frames/frame.h"
#include "Inspection/grids/gridfile.h"
#include "Inspection/scanning/csvfile.h"
#include "tests/cscan/program.h"
#include "tests/inspection/sampleparts.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

namespace cscan {
namespace {

using namespace Testing;
using QELT::Inspection::Frame;

Frame cellFrame() {
    return {QELT::Inspection::turnOfDegrees(90.0, 20.0, -30.0), {100.0, -50.0, 7.0}, "mm"};
}

/// Six numbers, of which the last three may be a direction.
using Numbers = std::vector<double>;

Numbers numbersIn(std::string const& line) {
    std::istringstream stream(line);
    Numbers numbers;
    for (double number = 0.0; stream >> number;) {
        numbers.push_back(number);
    }
    return numbers;
}

/// The text with the points of its lines that begin with `prefix` in the cell's coordinates.
std::string inCell(std::string const& text, std::string const& prefix) {
    Frame const back = cellFrame().getInverse();
    std::string moved;
    for (std::string const& line : linesOf(text)) {
        if (line.rfind(prefix, 0) != 0) {
            moved += line + "\n";
            continue;
        }
        auto const at = numbersIn(line.substr(prefix.size()));
        auto const place = back.placeOf({at.at(0), at.at(1), at.at(2)});
        moved += prefix + std::to_string(place[0]) + " " + std::to_string(place[1]) + " " +
                 std::to_string(place[2]) + "\n";
    }
    return moved;
}

/// A patch, its points and a tube in the part's coordinates, and the same in the cell's.
class FramedFiles : public testing::Test {
protected:
    void SetUp() override {
        QELT::Inspection::writeFrame(cellFrame(), directory / "cell.json");
        writeBoth("patch", ".obj", patchMesh(), "v ");
        writeBoth("points", ".xyz", patchPoints(""), "");
        writeBoth("tube", ".obj", tubeMesh(), "v ");
    }

    void writeBoth(std::string const& name, std::string const& ending, std::string const& text,
                   std::string const& prefix) {
        writeText(directory / (name + ending), text);
        writeText(directory / (name + "_cell" + ending), inCell(text, prefix));
    }

    Outcome runWell(std::vector<std::string> const& arguments) {
        Outcome outcome = run(directory, arguments);
        EXPECT_EQ(outcome.status, 0) << arguments.front() << ": " << outcome.errors << outcome.output;
        return outcome;
    }

    /// The lines of two files that begin with "v " hold the same places within `tolerance`.
    void expectSamePoints(std::string const& name, std::string const& other, double tolerance) {
        auto const lines = linesOf(readText(directory / name));
        auto const others = linesOf(readText(directory / other));
        ASSERT_EQ(lines.size(), others.size());
        std::size_t compared = 0;
        for (std::size_t i = 0; i < lines.size(); ++i) {
            if (lines[i].rfind("v ", 0) == 0) {
                auto const a = numbersIn(lines[i].substr(2));
                auto const b = numbersIn(others[i].substr(2));
                EXPECT_NEAR(std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]), 0.0, tolerance) << lines[i];
                ++compared;
            }
        }
        EXPECT_GT(compared, 100U);
    }

    ScratchDirectory directory;
};

constexpr double tolerance = 1e-5; // of six decimals, rounded to single precision near 100

TEST_F(FramedFiles, areImportedIntoThePartsCoordinates) {
    runWell({"import", "patch.obj", "a.obj"});
    runWell({"import", "patch_cell.obj", "b.obj", "--frame", "cell.json"});
    expectSamePoints("a.obj", "b.obj", tolerance);
    std::string const record = readText(directory / "b.obj.json");
    EXPECT_NE(record.find("\"frame\": \"cell.json\""), std::string::npos) << record;
    EXPECT_NE(record.find("\"frameTranslation\""), std::string::npos);
    EXPECT_NE(record.find("\"length\": \"mm\""), std::string::npos) << "the frame's unit is the part's";
}

TEST_F(FramedFiles, haveTheirCoordinatesScaledBeforeTheFrame) {
    writeText(directory / "metres.obj", readText(directory / "patch_cell.obj"));
    runWell({"import", "patch_cell.obj", "small.obj", "--scale", "0.001"});
    runWell({"import", "small.obj", "b.obj", "--scale", "1000", "--frame", "cell.json"});
    expectSamePoints("patch.obj", "b.obj", 2e-5);
}

TEST_F(FramedFiles, arePreparedAsThePart) {
    runWell({"prepare", "patch.obj", "a.quads", "--pixel", "0.5", "--mode", "pinned"});
    runWell({"prepare", "patch_cell.obj", "b.quads", "--pixel", "0.5", "--mode", "pinned", "--frame",
             "cell.json"});
    Grid a;
    Grid b;
    QELT::Inspection::loadGrid(a, directory / "a.quads");
    QELT::Inspection::loadGrid(b, directory / "b.quads");
    ASSERT_EQ(a.getExtents().getdU(), b.getExtents().getdU());
    ASSERT_EQ(a.getExtents().getdV(), b.getExtents().getdV());
    std::size_t compared = 0;
    for (int v = 0; v <= static_cast<int>(a.getExtents().getdV()); ++v) {
        for (int u = 0; u <= static_cast<int>(a.getExtents().getdU()); ++u) {
            GridIndex const node(u, v);
            if (a.getIsPointValid(node) && b.getIsPointValid(node)) {
                EXPECT_LT(std::sqrt((a.getPoint(node) - b.getPoint(node)).lSqr()), 1e-3);
                ++compared;
            }
        }
    }
    EXPECT_GT(compared, 200U);
}

TEST_F(FramedFiles, areCheckedWithTheFrameInWhatWorksNext) {
    Outcome const outcome = runWell({"check", "patch_cell.obj", "--frame", "cell.json"});
    std::string const size = itemIn(runWell({"check", "patch.obj"}).output, "size");
    EXPECT_EQ(itemIn(outcome.output, "size").find(size.substr(0, size.find(','))), 0U) << outcome.output;
    EXPECT_NE(outcome.output.find("cscan prepare patch_cell.obj --frame cell.json patch_cell.quads"),
              std::string::npos)
        << outcome.output;
    Outcome const tube = run(directory, {"check", "tube_cell.obj", "--frame", "cell.json"});
    EXPECT_NE(tube.output.find("cscan cut tube_cell.obj --frame cell.json tube_cell_slit.obj"),
              std::string::npos)
        << tube.output;
}

TEST_F(FramedFiles, areCutAndCroppedAndReconstructedInThePartsCoordinates) {
    runWell({"cut", "tube.obj", "a.obj", "--metric", "min", "--axis", "z", "--across", "x"});
    runWell({"cut", "tube_cell.obj", "b.obj", "--metric", "min", "--axis", "z", "--across", "x", "--frame",
             "cell.json"});
    std::vector<std::string> const box{"--box", "2,2,-1,9,9,9"};
    runWell({"crop", "patch.obj", "c.obj", box[0], box[1]});
    runWell({"crop", "patch_cell.obj", "d.obj", box[0], box[1], "--frame", "cell.json"});
    EXPECT_EQ(linesOf(readText(directory / "c.obj")).size(), linesOf(readText(directory / "d.obj")).size());
    runWell({"reconstruct", "points.xyz", "e.obj"});
    runWell({"reconstruct", "points_cell.xyz", "f.obj", "--frame", "cell.json"});
    expectSamePoints("e.obj", "f.obj", tolerance);
}

TEST_F(FramedFiles, areAskedInThePartsCoordinates) {
    Outcome const plain = runWell({"neighbours", "points.xyz", "--at", "3,4,1", "-k", "2"});
    Outcome const framed =
        runWell({"neighbours", "points_cell.xyz", "--at", "3,4,1", "-k", "2", "--frame", "cell.json"});
    EXPECT_EQ(linesOf(plain.output).size(), linesOf(framed.output).size());
    writeText(directory / "tetra.xyz", "1 0 0\n-1 0 0\n0 1 0\n0 -1 0\n0 0 1\n0 0 -1\n");
    Outcome const sphere = runWell({"fit", "sphere", "tetra.xyz", "--frame", "cell.json"});
    EXPECT_EQ(itemIn(sphere.output, "centre"), "(100, -50, 7)") << sphere.output;
}

class FramedScan : public FramedFiles {
protected:
    void SetUp() override {
        FramedFiles::SetUp();
        runWell({"prepare", "patch.obj", "grid.quads", "--pixel", "0.5", "--unit", "mm"});
    }
};

TEST_F(FramedScan, takesBeamsFromTheCell) {
    Frame const back = cellFrame().getInverse();
    std::string beams = "ox,oy,oz,dx,dy,dz\n";
    std::string cellBeams = beams;
    auto const add = [](std::string& text, Vector const& origin, Vector const& direction) {
        for (double const number : {origin.getdX(), origin.getdY(), origin.getdZ(), direction.getdX(),
                                    direction.getdY(), direction.getdZ()}) {
            text += (text.back() == '\n' ? "" : ",") + std::to_string(number);
        }
        text += "\n";
    };
    for (double const x : {3.0, 5.1, 8.3}) {
        Vector const origin(x, 4.2, 20.0);
        Vector const direction(0.0, 0.1, -1.0);
        add(beams, origin, direction);
        add(cellBeams, back.moved(origin), back.turned(direction));
    }
    writeText(directory / "beams.csv", beams);
    writeText(directory / "cell.csv", cellBeams);
    runWell({"scan", "grid.quads", "--beams", "beams.csv", "--csv", "a.csv", "--image", "a"});
    runWell({"scan", "grid.quads", "--beams", "cell.csv", "--csv", "b.csv", "--image", "b", "--frame",
             "cell.json"});
    auto const a = linesOf(readText(directory / "a.csv"));
    auto const b = linesOf(readText(directory / "b.csv"));
    ASSERT_EQ(a.size(), 4U);
    ASSERT_EQ(b.size(), a.size());
    for (std::size_t i = 1; i < a.size(); ++i) {
        auto const first = fieldsOf(a[i]);
        auto const second = fieldsOf(b[i]);
        EXPECT_EQ(first.back(), "hit");
        EXPECT_EQ(first[0] + "," + first[1], second[0] + "," + second[1]);
        for (std::size_t column = 2; column <= 6; ++column) {
            EXPECT_NEAR(std::stod(first[column]), std::stod(second[column]), 2e-4) << a[i];
        }
    }
}

TEST_F(FramedScan, writesAPathForTheCell) {
    std::vector<std::string> const plan{"path", "grid.quads", "a.csv", "--step", "2", "--standoff", "15"};
    runWell(plan);
    std::vector<std::string> framed = plan;
    framed[2] = "b.csv";
    framed.insert(framed.end(), {"--frame", "cell.json"});
    runWell(framed);
    auto const inPart = linesOf(readText(directory / "a.csv"));
    auto const inTheCell = linesOf(readText(directory / "b.csv"));
    ASSERT_EQ(inPart.size(), inTheCell.size());
    ASSERT_GT(inPart.size(), 10U);
    for (std::size_t i = 1; i < inPart.size(); ++i) {
        auto const a = fieldsOf(inPart[i]);
        auto const b = fieldsOf(inTheCell[i]);
        auto const vectorAt = [](std::vector<std::string> const& fields, std::size_t column) {
            return Vector(std::stod(fields[column]), std::stod(fields[column + 1]),
                          std::stod(fields[column + 2]));
        };
        EXPECT_LT((cellFrame().moved(vectorAt(b, 3)) - vectorAt(a, 3)).lSqr(), 1e-10);
        EXPECT_LT((cellFrame().turned(vectorAt(b, 6)) - vectorAt(a, 6)).lSqr(), 1e-14);
        // The probe's z axis goes along the beam in the cell, too.
        QELT::Inspection::Turn const turn{std::stod(b[9]), std::stod(b[10]), std::stod(b[11]),
                                          std::stod(b[12])};
        auto const axis = turn * QELT::Inspection::Triple{0.0, 0.0, 1.0};
        EXPECT_LT((Vector(axis[0], axis[1], axis[2]) - vectorAt(b, 6)).lSqr(), 1e-14);
    }
}

TEST_F(FramedScan, drawsAFootprintOfTheCellsBeam) {
    Frame const back = cellFrame().getInverse();
    auto const text = [](Vector const& vector) {
        return std::to_string(vector.getdX()) + "," + std::to_string(vector.getdY()) + "," +
               std::to_string(vector.getdZ());
    };
    auto const beam = [&](Vector const& origin, Vector const& a, Vector const& b, std::string const& image) {
        return std::vector<std::string>{"footprint",  "grid.quads", "--origin", text(origin),  "--axis-a",
                                        text(a),      "--axis-b",   text(b),    "--cotangent", "20",
                                        "--aperture", "1",          "--image",  image};
    };
    Vector const origin(5.0, 6.0, 20.0);
    Vector const a(1.0, 0.0, 0.0);
    Vector const b(0.0, -1.0, 0.0);
    auto framed = beam(back.moved(origin), back.turned(a), back.turned(b), "b.png");
    framed.insert(framed.end(), {"--frame", "cell.json"});
    Outcome const plain = runWell(beam(origin, a, b, "a.png"));
    EXPECT_EQ(itemIn(plain.output, "quad"), itemIn(runWell(framed).output, "quad"));
}

TEST_F(FramedScan, saysInOneLineWhatDoesNotFit) {
    expectComplaint(directory,
                    {{"scan", "grid.quads", "--raster", "1", "--standoff", "5", "--direction", "0,0,-1",
                      "--csv", "a.csv", "--image", "a", "--frame", "cell.json"},
                     "scan: --frame goes with --beams or a table of shots; a raster is laid over the grid"});
    expectComplaint(directory, {{"scan", "grid.quads", "--raster", "1", "--standoff", "5", "--direction",
                                 "0,0,-1", "--csv", "a.csv", "--image", "a", "--gate", "tof:1..2"},
                                "scan: --gate goes with a table of shots"});
    expectComplaint(directory, {{"view", "grid.quads", "page.html", "--frame", "cell.json"},
                                "view: a frame goes with a part or with a path; grid.quads is neither"});
    expectComplaint(directory,
                    {{"prepare", "patch_cell.obj", "g.quads", "--unit", "m", "--frame", "cell.json"},
                     "cell.json: is in 'mm', the part in 'm'; register the cell in the part's unit"});
    std::string far;
    for (std::string const& line : linesOf(patchMesh())) {
        auto const at = numbersIn(line.substr(2));
        far += line[0] == 'v' ? "v " + std::to_string(at[0] + 1000.0) + line.substr(line.find(' ', 2)) : line;
        far += "\n";
    }
    writeText(directory / "far.obj", far);
    runWell({"import", "far.obj", "moved.obj"});
    expectComplaint(directory,
                    {{"import", "moved.obj", "again.obj", "--frame", "cell.json"},
                     "moved.obj: was moved when it was made; give the frame to the part it was made of"});
    EXPECT_FALSE(std::filesystem::exists(directory / "again.obj"));
}

} // namespace
} // namespace cscan
