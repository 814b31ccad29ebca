// Looking at parts, mending them and cutting faces out of them, through the program.

#include "Inspection/parts/facemesh.h"
#include "tests/cscan/program.h"
#include "tests/inspection/parts/partshapes.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace cscan {
namespace {

using namespace Testing;

/// The lines below a heading, up to an empty one.
std::vector<std::string> linesBelow(std::string const& output, std::string const& heading) {
    std::vector<std::string> found;
    bool isBelow = false;
    for (std::string const& line : linesOf(output)) {
        if (line.empty()) {
            isBelow = false;
        } else if (isBelow) {
            found.push_back(line.substr(line.find_first_not_of(' ')));
        }
        isBelow = isBelow || line == heading;
    }
    return found;
}

std::vector<std::string> nextIn(Outcome const& outcome) {
    return linesBelow(outcome.output, "What to type next");
}

/// The words of a command line behind the program's name.
std::vector<std::string> wordsOf(std::string const& command) {
    std::istringstream stream(command);
    std::vector<std::string> words;
    for (std::string word; stream >> word;) {
        words.push_back(word);
    }
    EXPECT_EQ(words.at(0), "cscan");
    words.erase(words.begin());
    return words;
}

TEST(CheckCommand, TellsASoundPartAndThePreparationThatWorks) {
    ScratchDirectory const directory;
    writeFaces(flatSheet(20, 30), directory / "sheet.obj");
    Outcome const outcome = run(directory, {"check", "sheet.obj"});
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(itemIn(outcome.output, "format"), "OBJ, a mesh");
    EXPECT_EQ(itemIn(outcome.output, "faces"), "1200");
    EXPECT_EQ(itemIn(outcome.output, "size"), "20 x 30 x 0, from (0, 0, 0)");
    EXPECT_EQ(itemIn(outcome.output, "area"), "600");
    EXPECT_EQ(itemIn(outcome.output, "  piece 1"), "1200 faces, area 600, 1 rim, 0 handles");
    EXPECT_EQ(itemIn(outcome.output, "  rim 1"), "100 edges, length 100, around (10, 15, 0)");
    EXPECT_EQ(itemIn(outcome.output, "suggested pixel"), "0.1");
    EXPECT_EQ(itemIn(outcome.output, "suggested mode"),
              "developable: rolled out, the rim closes to within 0 degrees");
    EXPECT_NE(outcome.output.find("\nNo faults\n"), std::string::npos);
    EXPECT_EQ(nextIn(outcome), std::vector<std::string>{"cscan prepare sheet.obj sheet.quads --pixel 0.1"});
}

TEST(CheckCommand, TellsEveryFaultAtOnceAndOneRepairThatHelps) {
    ScratchDirectory const directory;
    FaceMesh mesh = flatSheet(30, 30);
    append(mesh, flatSheet(2, 2), {50.0, 0.0, 0.0});
    mesh.faces.push_back(mesh.faces[4]);
    std::swap(mesh.faces[70][0], mesh.faces[70][1]);
    writeFaces(mesh, directory / "m.obj");
    Outcome const outcome = run(directory, {"check", "m.obj"});
    EXPECT_EQ(outcome.status, 3) << outcome.errors;
    EXPECT_EQ(itemsIn(outcome.output, "in the way"),
              (std::vector<std::string>{"1 face stands there a second time",
                                        "1 face runs against the others around it",
                                        "2 pieces that share no side; outside the largest 8 faces"}));
    ASSERT_EQ(nextIn(outcome).size(), 2U);
    EXPECT_EQ(nextIn(outcome)[1], "cscan check m_repaired.obj");
    EXPECT_EQ(nextIn(outcome)[0], "cscan import m.obj m_repaired.obj --repair --keep-largest");
    Outcome const repaired = run(directory, wordsOf(nextIn(outcome)[0]));
    EXPECT_EQ(repaired.status, 0) << repaired.errors;
    EXPECT_EQ(itemsIn(repaired.output, "repair"),
              (std::vector<std::string>{"1 doubled face left out", "8 faces of lesser pieces left out",
                                        "1 face turned over", "9 unused points left out"}));
    EXPECT_EQ(itemIn(repaired.output, "points"), "970 in, 961 out");
    EXPECT_EQ(itemIn(repaired.output, "triangles"), "1809 in, 1800 out");
    EXPECT_EQ(run(directory, {"check", "m_repaired.obj"}).status, 0);
}

TEST(CheckCommand, LeadsFromAClosedPartToAFaceThatIsPrepared) {
    ScratchDirectory const directory;
    for (FaceMesh const& mesh : {sphere(20, 30), torus(24, 40)}) {
        writeFaces(mesh, directory / "part.obj");
        Outcome const outcome = run(directory, {"check", "part.obj"});
        EXPECT_EQ(outcome.status, 3);
        ASSERT_EQ(nextIn(outcome).size(), 1U) << outcome.output;
        Outcome const cropped = run(directory, wordsOf(nextIn(outcome)[0]));
        ASSERT_EQ(cropped.status, 0) << cropped.output << cropped.errors;
        EXPECT_EQ(run(directory, {"check", "part_face.obj"}).status, 0);
        Outcome const prepared = run(
            directory, {"prepare", "part_face.obj", "part.quads", "--quad-area", "0.25", "--mode", "pinned"});
        EXPECT_EQ(prepared.status, 0) << prepared.errors;
    }
}

TEST(PrepareCommand, LeadsFromAPartThatIsNearlyClosedToAFaceThatIsFit) {
    ScratchDirectory const directory;
    FaceMesh part = sphere(40, 60);
    part.faces.resize(part.faces.size() - 60); // about half of what meets in one of the poles, or in both
    writeFaces(part, directory / "part.obj");
    Outcome const refused = run(directory, {"prepare", "part.obj", "part.quads", "--pixel", "0.5"});
    ASSERT_EQ(refused.status, 3) << refused.output << refused.errors;
    std::string const remedy = itemIn(refused.output, "  remedy");
    ASSERT_TRUE(remedy.starts_with("cscan crop ")) << remedy;
    Outcome const cropped = run(directory, wordsOf(remedy));
    ASSERT_EQ(cropped.status, 0) << cropped.output << cropped.errors;
    ASSERT_EQ(nextIn(cropped).size(), 1U) << cropped.output;
    Outcome const prepared = run(directory, wordsOf(nextIn(cropped)[0]));
    EXPECT_EQ(prepared.status, 0) << prepared.output << prepared.errors;
}

TEST(CheckCommand, LeadsFromATubeToItsSlit) {
    ScratchDirectory const directory;
    writeFaces(tube(20, 40), directory / "tube.obj");
    Outcome const outcome = run(directory, {"check", "tube.obj"});
    EXPECT_EQ(outcome.status, 3);
    ASSERT_EQ(nextIn(outcome).size(), 1U) << outcome.output;
    Outcome const slit = run(directory, wordsOf(nextIn(outcome)[0]));
    ASSERT_EQ(slit.status, 0) << slit.errors;
    EXPECT_EQ(run(directory, {"check", "tube_slit.obj"}).status, 0);
}

TEST(CheckCommand, NamesWhatCannotBeRead) {
    ScratchDirectory const directory;
    writeText(directory / "cut.off", "OFF\n3 1 0\n0 0 0\n1 0 0\n");
    expectComplaint(directory, {{"check", "cut.off"},
                                "cut.off, line 2: the file is too short for a count of 3: 12 bytes follow"});
}

TEST(CropCommand, TellsWhatItKeptAndLeftOut) {
    ScratchDirectory const directory;
    FaceMesh mesh = flatSheet(10, 10);
    append(mesh, flatSheet(3, 3), {20.0, 0.0, 0.0});
    writeFaces(mesh, directory / "m.obj");
    Outcome const outcome = run(directory, {"crop", "m.obj", "f.obj", "--plane", "0,2,0,0,1,0"});
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(linesOf(outcome.output).at(0), "f.obj");
    EXPECT_EQ(itemIn(outcome.output, "kept"), "160 faces");
    EXPECT_EQ(itemIn(outcome.output, "left out"), "52 faces do not fit");
    EXPECT_NE(outcome.output.find("6 faces of 1 other sheet: --grow X,Y,Z takes the one at a place"),
              std::string::npos);
    Outcome const grown = run(directory, {"crop", "m.obj", "f.obj", "--grow", "21,1,3"});
    EXPECT_EQ(itemIn(grown.output, "kept"), "18 faces");
    Outcome const boxed = run(
        directory, {"crop", "m.obj", "f.obj", "--box", "0,0,-1,4,4,1", "--facing", "0,0,1", "--angle", "5"});
    EXPECT_EQ(itemIn(boxed.output, "kept"), "32 faces");
    Outcome const between =
        run(directory, {"crop", "m.obj", "f.obj", "--plane", "0,2,0,0,1,0", "--plane", "0,5,0,0,-1,0"});
    EXPECT_EQ(itemIn(between.output, "kept"), "60 faces");
}

TEST(CropCommand, RefusesWhatMakesNoSense) {
    ScratchDirectory const directory;
    writeFaces(sphere(5, 8), directory / "b.obj");
    std::vector<std::string> const crop{"crop", "b.obj", "f.obj"};
    auto const with = [&](std::vector<std::string> const& options) {
        std::vector<std::string> arguments = crop;
        arguments.insert(arguments.end(), options.begin(), options.end());
        return arguments;
    };
    for (Mistake const& mistake : std::vector<Mistake>{
             {crop, "what is to be kept is missing: --box, --plane, --facing or --grow"},
             {with({"--facing", "0,0,0"}), "--facing: '0,0,0' has no usable length"},
             {with({"--box", "1,0,0,0,1,1"}), "--box: '1,0,0,0,1,1' is no box: the lower corner comes first"},
             {with({"--plane", "1,0,0"}), "--plane: '1,0,0' is not of the form X,Y,Z,NX,NY,NZ"},
             {with({"--angle", "20"}), "--angle requires --facing"},
             {with({"--facing", "0,0,1", "--angle", "200"}), "--angle: '200' is more than 180 degrees"},
             {with({"--plane", "0,0,99,0,0,1"}),
              "b.obj: no face fits what is to be kept; cscan check tells the part's size"}}) {
        expectComplaint(directory, mistake);
    }
    EXPECT_FALSE(std::filesystem::exists(directory / "f.obj"));
}

TEST(ImportCommand, RepairsOnlyIfAskedTo) {
    ScratchDirectory const directory;
    FaceMesh mesh = flatSheet(5, 5);
    mesh.faces.erase(mesh.faces.begin() + 24, mesh.faces.begin() + 26);
    writeFaces(mesh, directory / "m.obj");
    Outcome const plain = run(directory, {"import", "m.obj", "a.obj"});
    EXPECT_TRUE(itemsIn(plain.output, "repair").empty());
    Outcome const repaired = run(directory, {"import", "m.obj", "b.obj", "--repair"});
    EXPECT_EQ(itemIn(repaired.output, "repair"), "nothing to mend");
    EXPECT_EQ(readText(directory / "a.obj"), readText(directory / "b.obj"));
    Outcome const filled = run(directory, {"import", "m.obj", "c.obj", "--repair", "--fill-holes", "4"});
    EXPECT_EQ(itemIn(filled.output, "repair"), "1 hole closed with 2 faces");
    EXPECT_EQ(itemIn(filled.output, "triangles"), "48 in, 50 out");
    expectComplaint(directory,
                    {{"import", "m.obj", "d.obj", "--keep-largest"}, "--keep-largest requires --repair"});
}

TEST(CutCommand, TellsWhyAMeshCannotBeBuilt) {
    ScratchDirectory const directory;
    FaceMesh mesh = flatSheet(2, 2);
    append(mesh, flatSheet(1, 1), {5.0, 0.0, 0.0});
    writeFaces(mesh, directory / "m.obj");
    expectComplaint(
        directory, {{"cut", "m.obj", "o.obj", "--metric", "max", "--axis", "z", "--across", "x"},
                    "m.obj: 2 pieces that share no side; outside the largest 2 faces (the second from face 9 "
                    "on near (5.66667, 0.333333, 0)); remedy: cscan import m.obj m_repaired.obj --repair "
                    "--keep-largest"});
}

} // namespace
} // namespace cscan
