#include "tests/support/loadcomparison.h"
#include "tests/support/meshfamilies.h"
#include "tests/support/plain_objloader.h"
#include "tests/support/randomindex.h"
#include "tests/support/recordinglistener.h"
#include "tests/support/throwinglistener.h"

#include "Geometry/trimesh/mesh.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <clocale>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <limits>
#include <locale>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::Point;
using Geometry::ThreeDimensional::TriMesh::CutEdgeIndices;
using Geometry::ThreeDimensional::TriMesh::FileContents;
using Geometry::ThreeDimensional::TriMesh::Mesh;
using Geometry::ThreeDimensional::TriMesh::Triangle;
using FlatPoint = Geometry::TwoDimensional::Point<double>;

using Faces = std::multiset<std::array<std::uint32_t, 3>>;
using IndexPairs = std::vector<std::pair<std::uint32_t, std::uint32_t>>;

/// Each test has a directory of its own, in which `path` names files.
class ObjFile : public testing::Test {
protected:
    std::string path(std::string const& name) const { return directory.file(name); }

    /// Loads the text from a file and gives the failure, if any.
    std::string loadText(std::string const& text) {
        writeText(path("text.obj"), text);
        return loadPath(path("text.obj"));
    }

    std::string loadPath(std::string const& file) {
        try {
            contents = mesh.load(file.c_str());
        } catch (std::exception const& failure) {
            return failure.what();
        }
        return "";
    }

    std::string savePath(std::string const& file, bool saveFlat = false, bool saveFlatAs3D = false) const {
        try {
            mesh.save(file.c_str(), saveFlat, saveFlatAs3D);
        } catch (std::exception const& failure) {
            return failure.what();
        }
        return "";
    }

    std::string savedText(bool saveFlat, bool saveFlatAs3D) const {
        EXPECT_EQ(savePath(path("saved.obj"), saveFlat, saveFlatAs3D), "");
        return readText(path("saved.obj"));
    }

    void setCut(IndexPairs const& pairs) {
        mesh.cutEdgeIndices = {};
        for (auto const& [first, second] : pairs) {
            mesh.cutEdgeIndices.first.push_back({first});
            mesh.cutEdgeIndices.second.push_back({second});
        }
    }

    IndexPairs getCut() const {
        CutEdgeIndices const& cut = mesh.getCutEdgeIndices();
        EXPECT_EQ(cut.first.size(), cut.second.size());
        IndexPairs pairs;
        for (std::size_t k = 0; k < cut.first.size(); ++k) {
            pairs.emplace_back(cut.first[k].index, cut.second[k].index);
        }
        return pairs;
    }

    TemporaryDirectory const directory;
    Mesh mesh;
    FileContents contents;
};

std::string const header = "#\n# Proprietary data of Marvisan QELT - do not distribute\n#\n\n";
std::string const oneTriangle = "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n";
std::string const square = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0.25\n"
                           "vt 0.5 0.5\nvt 1.5 0.5\nvt 1.5 1.5\nvt 0.5 1.5\n"
                           "f 1 2 3\nf 1 3 4\n";

/// Faces as a set, each turned so that its lowest vertex comes first.
Faces turned(std::vector<std::array<std::uint32_t, 3>> faces) {
    for (auto& face : faces) {
        std::rotate(face.begin(), std::min_element(face.begin(), face.end()), face.end());
    }
    return {faces.begin(), faces.end()};
}

std::vector<std::array<std::uint32_t, 3>> getFaces(Mesh const& mesh) {
    std::vector<Triangle*> list;
    std::vector<Triangle*>::iterator first;
    std::vector<Triangle*>::iterator last;
    mesh.getTriangles(list, first, last);
    std::vector<std::array<std::uint32_t, 3>> faces;
    std::transform(first, last, std::back_inserter(faces), [](Triangle* t) { return t->vertexIndices; });
    return faces;
}

/// Goes into a directory and back again.
class WorkingDirectory {
public:
    explicit WorkingDirectory(std::string const& directory) : previous(std::filesystem::current_path()) {
        std::filesystem::current_path(directory);
    }

    WorkingDirectory(WorkingDirectory const&) = delete;
    WorkingDirectory& operator=(WorkingDirectory const&) = delete;

    ~WorkingDirectory() { std::filesystem::current_path(previous); }

private:
    std::filesystem::path previous;
};

/// How much of a file was read.
struct ReadRecords {
    std::size_t vertices = 0;
    std::size_t flatPoints = 0;
    std::size_t triangles = 0;
};

/// From what a listener heard of a file in which each record gives a percentage.
ReadRecords countRecords(std::vector<std::string> const& events) {
    ReadRecords records;
    std::size_t ignored = 0;
    std::size_t* stage = &ignored;
    for (std::string const& event : events) {
        if (event == "Reading 3D coordinates...") {
            stage = &records.vertices;
        } else if (event == "Reading 2D coordinates...") {
            stage = &records.flatPoints;
        } else if (event == "Reading connectivity information...") {
            stage = &ignored;
        } else if (event == "Constructing triangle mesh...") {
            stage = &records.triangles;
        } else {
            *stage += event.ends_with('%') ? 1U : 0U;
        }
    }
    records.triangles += records.triangles > 0 ? 1U : 0U; // the first one is joined to nothing
    return records;
}

std::ptrdiff_t countOpenFiles() {
    std::filesystem::directory_iterator const files("/proc/self/fd");
    return std::distance(begin(files), end(files));
}

std::ptrdiff_t countEntries(std::string const& directory) {
    std::filesystem::directory_iterator const files(directory);
    return std::distance(begin(files), end(files));
}

class CommaNumbers : public std::numpunct<char> {
protected:
    char do_decimal_point() const override { return ','; }

    char do_thousands_sep() const override { return '.'; }

    std::string do_grouping() const override { return "\3"; }
};

/// Makes the global locale of the C++ streams write 1234.5 as 1.234,5.
class CommaStreams {
public:
    CommaStreams() : previous(std::locale::global(std::locale(std::locale::classic(), new CommaNumbers))) {}

    CommaStreams(CommaStreams const&) = delete;
    CommaStreams& operator=(CommaStreams const&) = delete;

    ~CommaStreams() { std::locale::global(previous); }

private:
    std::locale previous;
};

/// Sets a locale of the C library with a decimal comma, if the machine has one.
class CommaCLibrary {
public:
    CommaCLibrary() : previous(std::setlocale(LC_ALL, nullptr)) {
        for (char const* name : {"de_DE.UTF-8", "de_DE.utf8", "de_DE", "fr_FR.UTF-8", "nl_NL.UTF-8"}) {
            if (std::setlocale(LC_ALL, name) != nullptr && *std::localeconv()->decimal_point == ',') {
                isSet = true;
                return;
            }
        }
    }

    CommaCLibrary(CommaCLibrary const&) = delete;
    CommaCLibrary& operator=(CommaCLibrary const&) = delete;

    ~CommaCLibrary() { std::setlocale(LC_ALL, previous.c_str()); }

    bool isSet = false;

private:
    std::string previous;
};

/// What a save writes and a load of it reads, with a cut of large indices, as one text.
std::string saveAndLoad(std::string const& directory) {
    Mesh mesh;
    writeText(directory + "/x\\in.obj", square);
    mesh.load((directory + "/x\\in.obj").c_str());
    mesh.getVertex(0).setPoint3D(Point(1234567.5, -0.125, 1.0e-3));
    mesh.getVertex(1).setPoint2D(FlatPoint(7654321.25, -1234.5));
    mesh.cutEdgeIndices = {{{1234567}}, {{7654321}}};
    mesh.save((directory + "/x\\out.obj").c_str(), true, false);
    Mesh loaded;
    loaded.load((directory + "/x\\out.obj").c_str());
    return readText(directory + "/x\\out.obj") + readText(directory + "/x\\out_cut_indices.txt") +
           describe(loaded);
}

/// What a listener leaves behind that throws in the middle of a load.
class InterruptedLoad : public ObjFile {
protected:
    /// Whether the mesh holds the first records of the soup and nothing else.
    void expectRecords(Soup const& soup, ReadRecords const& expected) const {
        ASSERT_EQ(mesh.getNumberOfVertices(), expected.vertices);
        for (std::size_t v = 0; v < expected.vertices; ++v) {
            auto const& [x, y, z] = soup.points[v];
            EXPECT_EQ(mesh.getVertex(v).getPoint3D(), Point(x, y, z));
            double const flat = v < expected.flatPoints ? static_cast<double>(v + 1) : 0.0;
            EXPECT_EQ(mesh.getVertex(v).getPoint2D().getU(), flat);
        }
        Faces const whole = turned(soup.faces);
        Faces const faces = turned(getFaces(mesh));
        EXPECT_EQ(faces.size(), expected.triangles);
        EXPECT_TRUE(std::includes(whole.begin(), whole.end(), faces.begin(), faces.end()));
    }

    /// Asks all that may be asked of a mesh that was read in part.
    void useMesh() {
        std::size_t const faceCount = getFaces(mesh).size();
        EXPECT_EQ(savePath(path("part.obj"), true), "");
        std::string const text = readText(path("part.obj"));
        auto const letters =
            std::count(text.begin(), text.end(), 'f') - std::count(header.begin(), header.end(), 'f');
        EXPECT_EQ(letters, static_cast<std::ptrdiff_t>(faceCount));
        std::array<Point, 4> corners;
        mesh.getCorners(corners.data());
        EXPECT_TRUE(mesh.getUnlistedTriangles().empty());
        EXPECT_THROW(mesh.conformalMap(true, nullptr, false), std::runtime_error);
        mesh.makeCut(Geometry::ThreeDimensional::TriMesh::Maximum, 0, 2);
        EXPECT_EQ(getFaces(mesh).size(), faceCount);
        mesh.cutEdgeIndices = {};
    }
};

} // namespace

// Names and paths.

TEST_F(ObjFile, TheFileNameIsTheStemBehindTheLastBackslash) {
    std::pair<char const*, char const*> const names[] = {
        {"part.obj", "part"},
        {"C:\\data.v1\\part.v2.obj", "part.v2"},
        {"C:\\data.v1\\part", "part"},
        {"part", "part"},
        {"a\\b\\c.obj", "c"},
        {"dir.obj\\part.txt", "part"},
        {"dir.obj\\", ""},
        {".obj", ""},
        {"./a.b/c.obj", "./a.b/c"},
        {"/no.where/part", "/no"},
        {"", ""},
    };
    WorkingDirectory const empty(directory.path());
    for (auto const& [file, stem] : names) {
        EXPECT_NE(loadPath(file), "") << file;
        EXPECT_EQ(mesh.getFileName(), stem) << file;
    }
}

TEST_F(ObjFile, DotsInDirectoryNamesDoNotMatterToTheFileName) {
    writeText(path("a.b\\c.d.obj"), oneTriangle);
    EXPECT_EQ(loadPath(path("a.b\\c.d.obj")), "");
    EXPECT_EQ(mesh.getFileName(), "c.d");
}

TEST_F(ObjFile, AnUpperCaseExtensionIsRefused) {
    writeText(path("part.OBJ"), oneTriangle);
    EXPECT_EQ(loadPath(path("part.OBJ")), "Invalid file extension");
    EXPECT_EQ(savePath(path("other.OBJ")), "Invalid file extension");
    EXPECT_FALSE(std::filesystem::exists(path("other.OBJ")));
}

TEST_F(ObjFile, APathWithTheExtensionSomewhereInItsMiddleIsAccepted) {
    writeText(path("part.obj.txt"), oneTriangle);
    EXPECT_EQ(loadPath(path("part.obj.txt")), "");
    EXPECT_EQ(savePath(path("copy.object")), "");
    EXPECT_TRUE(std::filesystem::exists(path("copy.object")));
    std::filesystem::create_directory(path("dir.obj"));
    writeText(path("dir.obj/part"), oneTriangle);
    EXPECT_EQ(loadPath(path("dir.obj/part")), "");
}

TEST_F(ObjFile, AWrongExtensionLeavesTheOldMeshUnderTheNewName) {
    ASSERT_EQ(loadText(square), "");
    EXPECT_EQ(loadPath("dir\\other.txt"), "Invalid file extension");
    EXPECT_EQ(mesh.getNumberOfVertices(), 4U);
    EXPECT_EQ(mesh.getFileName(), "other");
}

TEST_F(ObjFile, AFileThatIsNotThereLeavesAnEmptyMeshUnderTheNewName) {
    ASSERT_EQ(loadText(square), "");
    EXPECT_EQ(loadPath(path("x\\missing.obj")), "Cannot open file");
    EXPECT_EQ(mesh.getNumberOfVertices(), 0U);
    EXPECT_EQ(mesh.getFileName(), "missing");
}

TEST_F(ObjFile, ASaveIntoNowhereCannotOpenItsFile) {
    ASSERT_EQ(loadText(square), "");
    EXPECT_EQ(savePath(path("no directory/m.obj")), "Cannot open file");
    std::filesystem::create_directory(path("d.obj"));
    EXPECT_EQ(savePath(path("d.obj")), "Cannot open file");
}

TEST_F(ObjFile, SaveLeavesTheFileNameAlone) {
    ASSERT_EQ(loadText(square), "");
    std::string const name = mesh.getFileName();
    ASSERT_EQ(savePath(path("x\\other.obj")), "");
    EXPECT_EQ(mesh.getFileName(), name);
}

TEST_F(ObjFile, FailuresAreStandardExceptions) {
    EXPECT_THROW(mesh.load("m.txt"), std::runtime_error);
    EXPECT_THROW(mesh.save("m.txt", false, false), std::runtime_error);
    EXPECT_THROW(mesh.load(path("missing.obj").c_str()), std::runtime_error);
}

// Records.

TEST_F(ObjFile, AFileWithoutVerticesHolds3DDataNot) {
    for (char const* text :
         {"", "f 1 2 3\n", "vt 1 2\nvt 1 2\n", "v 1 2\n", "v\n", "# nothing\n", "V 1 2 3\n"}) {
        EXPECT_EQ(loadText(text), "File does not contain 3D data") << text;
        EXPECT_TRUE(loadsLikePlainLoader(text)) << text;
    }
}

TEST_F(ObjFile, ADirectoryHolds3DDataNot) {
    std::filesystem::create_directory(path("d.obj"));
    EXPECT_EQ(loadPath(path("d.obj")), "File does not contain 3D data");
}

TEST_F(ObjFile, AFileWithFlatRecordsForAllVerticesContains2D) {
    ASSERT_EQ(loadText("v 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0.1 0.2\nvt 1.1234567 2\nvt -3 4e2\nf 1 2 3\n"), "");
    EXPECT_TRUE(contents.getDoesContain3D());
    EXPECT_TRUE(contents.getDoesContain2D());
    EXPECT_EQ(mesh.getVertex(0).getPoint2D(), FlatPoint(double{0.1F}, double{0.2F}));
    EXPECT_EQ(mesh.getVertex(1).getPoint2D(), FlatPoint(double{1.1234567F}, 2.0));
    EXPECT_EQ(mesh.getVertex(2).getPoint2D(), FlatPoint(-3.0, 400.0));
}

TEST_F(ObjFile, FlatCoordinatesComeBackRoundedToSixDecimalsAndThenToFloat) {
    ASSERT_EQ(loadText(square), "");
    std::mt19937 generator(3);
    std::vector<FlatPoint> expected;
    for (std::uint32_t v = 0; v < 4; ++v) {
        double const u = randomBelow(generator, 1U << 30) / 1.0e7;
        double const w = -1.0 / (1 + randomBelow(generator, 1U << 20));
        mesh.getVertex(v).setPoint2D(FlatPoint(u, w));
        std::array<float, 2> read{};
        char text[128];
        std::snprintf(text, sizeof text, "%f %f", u, w);
        ASSERT_EQ(std::sscanf(text, "%f %f", &read[0], &read[1]), 2);
        expected.emplace_back(double{read[0]}, double{read[1]});
    }
    ASSERT_EQ(savePath(path("flat.obj"), true, false), "");
    ASSERT_EQ(loadPath(path("flat.obj")), "");
    EXPECT_TRUE(contents.getDoesContain2D());
    for (std::uint32_t v = 0; v < 4; ++v) {
        EXPECT_EQ(mesh.getVertex(v).getPoint2D(), expected[v]);
    }
}

TEST_F(ObjFile, AFileWithoutFlatRecordsContainsNo2DAndFlatPlacesStayZero) {
    ASSERT_EQ(loadText(oneTriangle), "");
    EXPECT_TRUE(contents.getDoesContain3D());
    EXPECT_FALSE(contents.getDoesContain2D());
    for (std::uint32_t v = 0; v < 3; ++v) {
        EXPECT_EQ(mesh.getVertex(v).getPoint2D(), FlatPoint(0.0, 0.0));
    }
}

TEST_F(ObjFile, FlatRecordsGoByTheirPlaceInTheFileWhereverTheyStand) {
    ASSERT_EQ(loadText("vt 1 1\nf 1 2 3\nvt 2 2\nv 0 0 0\nv 1 0 0 vt 3 3 v 0 1 0"), "");
    EXPECT_TRUE(contents.getDoesContain2D());
    for (std::uint32_t v = 0; v < 3; ++v) {
        EXPECT_EQ(mesh.getVertex(v).getPoint2D(), FlatPoint(v + 1.0, v + 1.0));
    }
}

TEST_F(ObjFile, SomeButNotAllFlatRecordsAreAnInvalidNumber) {
    for (char const* records : {"vt 1 2\n", "vt 1 2\nvt 3 4\n", "vt 1 2 vt 3 4 vt 5 6 vt 7 8"}) {
        EXPECT_EQ(loadText(oneTriangle + records), "Invalid number of 2D coordinates") << records;
        EXPECT_EQ(mesh.getNumberOfVertices(), 3U);
        EXPECT_EQ(mesh.getVertex(0).getPoint2D(), FlatPoint(1.0, 2.0));
        EXPECT_TRUE(loadsLikePlainLoader(oneTriangle + records)) << records;
    }
}

TEST_F(ObjFile, ManyMoreFlatRecordsThanVerticesAreHarmless) {
    std::string text = oneTriangle;
    for (int i = 0; i < 5000; ++i) {
        text += "vt 7 8\n";
    }
    EXPECT_EQ(loadText(text), "Invalid number of 2D coordinates");
    EXPECT_EQ(mesh.getNumberOfVertices(), 3U);
    EXPECT_TRUE(loadsLikePlainLoader(text));
}

TEST_F(ObjFile, VttHoldsNoFlatRecord) {
    for (char const* record : {"vtt 1 2\n", "v t 1 2\n", "Vt 1 2\n", "vt 1\n", "vt x 1 2\n", "vt\tt1 2\n"}) {
        EXPECT_EQ(loadText(oneTriangle + record), "") << record;
        EXPECT_FALSE(contents.getDoesContain2D()) << record;
        EXPECT_TRUE(loadsLikePlainLoader(oneTriangle + record)) << record;
    }
}

TEST_F(ObjFile, CommentsAndOtherLinesHoldRecordsLikeAnyText) {
    std::string const text = "# v 0 0 0\nvn 1 2 3\ng groupv 1 0 0\nv0,1,2\nsomev0 1 0 7\ns off f 1 2 3\n";
    ASSERT_EQ(loadText(text), "");
    EXPECT_EQ(mesh.getNumberOfVertices(), 3U);
    EXPECT_EQ(mesh.getVertex(2).getPoint3D(), Point(0, 1, 0));
    EXPECT_TRUE(loadsLikePlainLoader(text));
}

TEST_F(ObjFile, AVertexThatNoFaceUsesGoesWithItsFlatRecordAndLaterIndicesShift) {
    ASSERT_EQ(loadText("v 9 9 9\nv 0 0 0\nv 1 0 0\nv 8 8 8\nv 0 1 0\n"
                       "vt 9 9\nvt 1 1\nvt 2 2\nvt 8 8\nvt 3 3\nf 2 3 5\n"),
              "");
    ASSERT_EQ(mesh.getNumberOfVertices(), 3U);
    EXPECT_TRUE(contents.getDoesContain2D());
    EXPECT_EQ(mesh.getVertex(0).getPoint3D(), Point(0, 0, 0));
    EXPECT_EQ(mesh.getVertex(2).getPoint3D(), Point(0, 1, 0));
    for (std::uint32_t v = 0; v < 3; ++v) {
        EXPECT_EQ(mesh.getVertex(v).getPoint2D(), FlatPoint(v + 1.0, v + 1.0));
    }
    EXPECT_EQ(getFaces(mesh).at(0), (std::array<std::uint32_t, 3>{0, 1, 2}));
}

TEST_F(ObjFile, AFaceOfFourIndicesMakesATriangleOfTheFirstThree) {
    ASSERT_EQ(loadText("v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nf 1 2 3 4\n"), "");
    EXPECT_EQ(getFaces(mesh), (std::vector<std::array<std::uint32_t, 3>>{{0, 1, 2}}));
    EXPECT_EQ(mesh.getNumberOfVertices(), 3U);
}

TEST_F(ObjFile, AFaceWithSlashesIsSkippedWithoutAWord) {
    ASSERT_EQ(loadText(oneTriangle + "f 1/1 3/3 2/2\nf 1//1 3//3 2//2\nf 1 3 /2\n"), "");
    EXPECT_EQ(getFaces(mesh).size(), 1U);
    EXPECT_EQ(loadText("v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1/1 2/2 3/3\n"), "Mesh construction failure");
}

TEST_F(ObjFile, AFirstFaceIndexOutOfRangeIsInvalid) {
    for (char const* face : {"f 0 1 2", "f -1 1 2", "f 4 1 2", "f 1 2 3 f 4 1 2"}) {
        EXPECT_EQ(loadText("v 0 0 0\nv 1 0 0\nv 0 1 0\n" + std::string(face)), "Invalid vertex index")
            << face;
        EXPECT_EQ(mesh.getNumberOfVertices(), 3U);
        EXPECT_TRUE(getFaces(mesh).empty());
    }
}

TEST_F(ObjFile, ASecondOrThirdFaceIndexOutOfRangeIsInvalidBeforeAnyFaceIsJoined) {
    RecordingListener listener;
    mesh.setProgressListener(&listener);
    for (char const* face : {"f 1 0 2", "f 1 4 2", "f 1 2 -7", "f 1 2 4", "f 1 2 2000000000"}) {
        listener.messages.clear();
        EXPECT_EQ(loadText("v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n" + std::string(face)),
                  "Invalid vertex index");
        EXPECT_EQ(listener.messages.back(), "Constructing triangle mesh...") << face;
        EXPECT_EQ(mesh.getNumberOfVertices(), 3U);
        EXPECT_TRUE(getFaces(mesh).empty()) << face;
    }
}

TEST_F(ObjFile, AFileWithoutAFaceIsAConstructionFailure) {
    EXPECT_EQ(loadText("v 0 0 0\nv 1 0 0\nv 0 1 0\n"), "Mesh construction failure");
    EXPECT_EQ(mesh.getNumberOfVertices(), 3U);
}

TEST_F(ObjFile, FacesThatDoNotHangTogetherAreAConstructionFailure) {
    EXPECT_EQ(loadText(objText(makeTwoComponents())), "Mesh construction failure");
    EXPECT_EQ(getFaces(mesh).size(), 18U); // the first of the two pieces stays
    EXPECT_EQ(loadText(objText(makeBowTie())), "Mesh construction failure");
    EXPECT_EQ(getFaces(mesh).size(), 1U);
}

TEST_F(ObjFile, InconsistentWindingIsAConstructionFailure) {
    EXPECT_EQ(loadText("v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\nf 1 2 3\nf 2 3 4\n"),
              "Mesh construction failure");
}

TEST_F(ObjFile, AMeshThatFailedLoadsTheNextFile) {
    ASSERT_EQ(loadText(objText(makeTwoComponents())), "Mesh construction failure");
    ASSERT_EQ(loadText(square), "");
    Mesh fresh;
    fresh.load(path("text.obj").c_str());
    EXPECT_EQ(describe(mesh), describe(fresh));
}

TEST_F(ObjFile, EveryPrefixOfAGoodFileLoadsOrFailsWithAKnownMessage) {
    std::set<std::string> const known{"", "File does not contain 3D data", "Invalid number of 2D coordinates",
                                      "Invalid vertex index", "Mesh construction failure"};
    ASSERT_EQ(loadText(objText(makeTetrahedron())), "");
    std::string const good = savedText(true, false);
    std::set<std::string> seen;
    for (std::size_t length = 0; length <= good.size(); ++length) {
        std::string const failure = loadText(good.substr(0, length));
        EXPECT_EQ(known.count(failure), 1U) << failure;
        EXPECT_TRUE(loadsLikePlainLoader(good.substr(0, length))) << length;
        seen.insert(failure);
    }
    EXPECT_EQ(seen.size(), 4U); // all but the vertex index
}

TEST_F(ObjFile, FilesWithAChangedCharacterLoadOrFailLikeThePlainLoader) {
    ASSERT_EQ(loadText(square), "");
    std::string const good = savedText(true, false);
    std::mt19937 generator(8);
    for (int round = 0; round < 600; ++round) {
        std::string text = good;
        for (std::uint32_t changes = 1 + randomBelow(generator, 3); changes > 0; --changes) {
            text[randomBelow(generator, text.size())] = "0123456789 .-vtf\nxe#"[randomBelow(generator, 20)];
        }
        ASSERT_TRUE(loadsLikePlainLoader(text)) << round;
    }
}

// What save writes.

TEST_F(ObjFile, SaveWritesHeaderVerticesAndFacesByteForByte) {
    ASSERT_EQ(loadText(square), "");
    EXPECT_EQ(savedText(false, false), header + "g Vertices\n"
                                                "v 0.000000 0.000000 0.000000\n"
                                                "v 1.000000 0.000000 0.000000\n"
                                                "v 1.000000 1.000000 0.000000\n"
                                                "v 0.000000 1.000000 0.250000\n"
                                                "\n"
                                                "g Faces\n"
                                                "f 1 2 3\n"
                                                "f 1 3 4\n");
}

TEST_F(ObjFile, SaveWithTheFlatMapByteForByte) {
    ASSERT_EQ(loadText(square), "");
    EXPECT_EQ(savedText(true, false), header + "g Vertices\n"
                                               "v 0.000000 0.000000 0.000000\n"
                                               "v 1.000000 0.000000 0.000000\n"
                                               "v 1.000000 1.000000 0.000000\n"
                                               "v 0.000000 1.000000 0.250000\n"
                                               "\n"
                                               "g Vertices2D\n"
                                               "vt 0.500000 0.500000\n"
                                               "vt 1.500000 0.500000\n"
                                               "vt 1.500000 1.500000\n"
                                               "vt 0.500000 1.500000\n"
                                               "\n"
                                               "g Faces\n"
                                               "f 1 2 3\n"
                                               "f 1 3 4\n");
}

TEST_F(ObjFile, SaveOfTheFlatMapAsASurfaceByteForByte) {
    ASSERT_EQ(loadText(square), "");
    EXPECT_EQ(savedText(true, true), header + "\n"
                                              "g Vertices3D\n"
                                              "v 0.500000 0.500000 0.0\n"
                                              "v 1.500000 0.500000 0.0\n"
                                              "v 1.500000 1.500000 0.0\n"
                                              "v 0.500000 1.500000 0.0\n"
                                              "\n"
                                              "g Faces\n"
                                              "f 1 2 3\n"
                                              "f 1 3 4\n");
}

TEST_F(ObjFile, SaveOfFacesAloneByteForByte) {
    ASSERT_EQ(loadText(square), "");
    EXPECT_EQ(savedText(false, true), header + "\n"
                                               "g Faces\n"
                                               "f 1 2 3\n"
                                               "f 1 3 4\n");
}

TEST_F(ObjFile, NumbersAreWrittenAsPrintfWritesThem) {
    double const numbers[] = {-0.0,
                              0.1,
                              -123456.789,
                              0.0000005,
                              0.00000049999,
                              2.5e-7,
                              1.5e-6,
                              0.4999995,
                              16777216.0,
                              3.4028234663852886e38,
                              -3.4028234663852886e38,
                              1.0e-45,
                              std::numeric_limits<double>::infinity(),
                              -std::numeric_limits<double>::infinity(),
                              std::numeric_limits<double>::quiet_NaN(),
                              -std::numeric_limits<double>::quiet_NaN()};
    for (double const number : numbers) {
        ASSERT_EQ(loadText(oneTriangle), "");
        mesh.getVertex(0).setPoint3D(Point(number, 0.0, -number));
        char expected[200];
        double const x = static_cast<double>(static_cast<float>(number));
        std::snprintf(expected, sizeof expected, "g Vertices\nv %f %f %f\n", x, 0.0, -x);
        EXPECT_EQ(savedText(false, false).substr(header.size(), std::string(expected).size()), expected);
    }
}

TEST_F(ObjFile, FlatCoordinatesAreWrittenWithoutLosingDoublePrecision) {
    for (double const number : {1.0e300, -1.7976931348623157e308, 5.0e-324, 0.1234565, 123456789.1234565}) {
        ASSERT_EQ(loadText(oneTriangle), "");
        mesh.getVertex(0).setPoint2D(FlatPoint(number, -number));
        std::vector<char> expected(800);
        std::snprintf(expected.data(), expected.size(), "\ng Vertices3D\nv %f %f 0.0\n", number, -number);
        std::string const text = expected.data();
        EXPECT_EQ(savedText(true, true).substr(header.size(), text.size()), text);
    }
}

TEST_F(ObjFile, FacesAreWrittenInTheOrderInWhichTheyWereMade) {
    for (NamedSoup const& family : loadableFamilies()) {
        loadSoup(mesh, family.soup);
        std::string text = "g Faces\n";
        for (auto const& [a, b, c] : getFaces(mesh)) {
            text += "f " + std::to_string(a + 1) + " " + std::to_string(b + 1) + " " + std::to_string(c + 1) +
                    "\n";
        }
        std::string const saved = savedText(false, false);
        EXPECT_EQ(saved.substr(saved.find("g Faces\n")), text) << family.name;
    }
}

TEST_F(ObjFile, ASavedFileIsReplacedWhole) {
    writeText(path("saved.obj"), std::string(100000, 'x'));
    ASSERT_EQ(loadText(square), "");
    EXPECT_EQ(savedText(false, true).size(), header.size() + 25);
}

TEST_F(ObjFile, AnEmptyMeshIsSavedWithoutFaces) {
    EXPECT_EQ(savedText(false, false), header + "g Vertices\n\ng Faces\n");
}

// There and back.

TEST_F(ObjFile, ASavedFlatMapComesBackInTheOrderOfTheVertices) {
    ASSERT_EQ(loadText(objText(makeWavyPatch(5, 4))), "");
    for (std::uint32_t v = 0; v < mesh.getNumberOfVertices(); ++v) {
        mesh.getVertex(v).setPoint2D(FlatPoint(v, 0.5 * v));
    }
    ASSERT_EQ(savePath(path("flat.obj"), true, false), "");
    Mesh loaded;
    EXPECT_TRUE(loaded.load(path("flat.obj").c_str()).getDoesContain2D());
    ASSERT_EQ(loaded.getNumberOfVertices(), mesh.getNumberOfVertices());
    for (std::uint32_t v = 0; v < loaded.getNumberOfVertices(); ++v) {
        EXPECT_EQ(loaded.getVertex(v).getPoint2D(), FlatPoint(v, 0.5 * v));
        EXPECT_NEAR(static_cast<double>(loaded.getVertex(v).getPoint3D().getZ()),
                    static_cast<double>(mesh.getVertex(v).getPoint3D().getZ()), 5.1e-7);
    }
}

TEST_F(ObjFile, AFlatMapSavedAsASurfaceComesBackAsAPlane) {
    ASSERT_EQ(loadText(square), "");
    ASSERT_EQ(savePath(path("plane.obj"), true, true), "");
    ASSERT_EQ(loadPath(path("plane.obj")), "");
    EXPECT_FALSE(contents.getDoesContain2D());
    ASSERT_EQ(mesh.getNumberOfVertices(), 4U);
    EXPECT_EQ(mesh.getVertex(2).getPoint3D(), Point(1.5, 1.5, 0.0));
    for (std::uint32_t v = 0; v < 4; ++v) {
        EXPECT_EQ(mesh.getVertex(v).getPoint3D().getZ(), 0.0F);
    }
}

TEST_F(ObjFile, EveryFamilyComesBackWithTheSameFaces) {
    for (NamedSoup const& family : loadableFamilies()) {
        loadSoup(mesh, family.soup);
        EXPECT_EQ(turned(getFaces(mesh)), turned(withoutUnusedVertices(family.soup).faces)) << family.name;
        ASSERT_EQ(savePath(path("again.obj")), "");
        Mesh again;
        again.load(path("again.obj").c_str());
        EXPECT_EQ(turned(getFaces(again)), turned(getFaces(mesh))) << family.name;
        EXPECT_EQ(again.getNumberOfVertices(), mesh.getNumberOfVertices()) << family.name;
    }
}

TEST_F(ObjFile, TheSameFileGivesTheSameFacesOnEveryLoadAndSave) {
    Soup const soup = withShuffledFaces(makePatchWithManyHoles(13), 77);
    writeObj(path("m.obj"), soup);
    ASSERT_EQ(loadPath(path("m.obj")), "");
    std::string const first = savedText(true, false);
    ASSERT_EQ(loadPath(path("m.obj")), "");
    EXPECT_EQ(savedText(true, false), first);
    Mesh other;
    loadSoup(other, makeSphere(2));
    other.load(path("m.obj").c_str());
    other.save(path("other.obj").c_str(), true, false);
    EXPECT_EQ(readText(path("other.obj")), first);
}

// The cut.

TEST_F(ObjFile, TheCutFileIsNamedAfterTheStem) {
    EXPECT_EQ(mesh.getCutEdgeIndicesFileName("part"), "part_cut_indices.txt");
    EXPECT_EQ(mesh.getCutEdgeIndicesFileName(""), "_cut_indices.txt");
}

TEST_F(ObjFile, ACutIsWrittenOnePairALine) {
    ASSERT_EQ(loadText(square), "");
    setCut({{3, 7}, {0, 4294967295U}, {1234567, 1}});
    ASSERT_EQ(savePath(path("x\\m.v1.obj")), "");
    EXPECT_EQ(readText(path("x\\m.v1_cut_indices.txt")), "3, 7\n0, 4294967295\n1234567, 1\n");
}

TEST_F(ObjFile, AFileOfTheOneLineWithThreeAndSevenLoadsWithAPairOfZerosBehind) {
    writeText(path("x\\m.obj"), oneTriangle);
    writeText(path("x\\m_cut_indices.txt"), "3, 7\n");
    ASSERT_EQ(loadPath(path("x\\m.obj")), "");
    EXPECT_EQ(getCut(), (IndexPairs{{3, 7}, {0, 0}}));
}

TEST_F(ObjFile, RepeatedLoadsDoubleTheCut) {
    writeText(path("x\\m.obj"), oneTriangle);
    writeText(path("x\\m_cut_indices.txt"), "3, 7\n");
    ASSERT_EQ(loadPath(path("x\\m.obj")), "");
    ASSERT_EQ(loadPath(path("x\\m.obj")), "");
    EXPECT_EQ(getCut(), (IndexPairs{{3, 7}, {0, 0}, {3, 7}, {0, 0}}));
}

TEST_F(ObjFile, AnEmptyCutWritesNoFileAndALoadLeavesTheCutAlone) {
    ASSERT_EQ(loadText(square), "");
    ASSERT_EQ(savePath(path("x\\m.obj")), "");
    EXPECT_FALSE(std::filesystem::exists(path("x\\m_cut_indices.txt")));
    setCut({{5, 6}});
    ASSERT_EQ(loadPath(path("x\\m.obj")), "");
    EXPECT_EQ(getCut(), (IndexPairs{{5, 6}}));
}

TEST_F(ObjFile, AnEmptyCutLeavesAnOldCutFile) {
    ASSERT_EQ(loadText(square), "");
    writeText(path("x\\m_cut_indices.txt"), "old");
    ASSERT_EQ(savePath(path("x\\m.obj")), "");
    EXPECT_EQ(readText(path("x\\m_cut_indices.txt")), "old");
}

TEST_F(ObjFile, ACutReplacesAnOldCutFile) {
    ASSERT_EQ(loadText(square), "");
    writeText(path("x\\m_cut_indices.txt"), std::string(1000, 'x'));
    setCut({{1, 2}});
    ASSERT_EQ(savePath(path("x\\m.obj")), "");
    EXPECT_EQ(readText(path("x\\m_cut_indices.txt")), "1, 2\n");
}

TEST_F(ObjFile, ABareNameLooksForItsCutUnderADirectoryOfItsOwnName) {
    WorkingDirectory const inside(directory.path());
    writeText("m.obj", oneTriangle);
    writeText("m_cut_indices.txt", "3, 7\n");
    ASSERT_EQ(loadPath("m.obj"), "");
    EXPECT_TRUE(getCut().empty());
    EXPECT_EQ(mesh.getFileName(), "m");
}

TEST_F(ObjFile, SaveAndLoadByABareNameFindEachOthersCut) {
    ASSERT_EQ(loadText(square), "");
    setCut({{3, 7}});
    WorkingDirectory const inside(directory.path());
    ASSERT_EQ(savePath("m.obj"), "");
    EXPECT_EQ(readText("m.obj\\m_cut_indices.txt"), "3, 7\n");
    Mesh loaded;
    loaded.load("m.obj");
    ASSERT_EQ(loaded.getCutEdgeIndices().first.size(), 2U);
    EXPECT_EQ(loaded.getCutEdgeIndices().first[0].index, 3U);
    EXPECT_EQ(loaded.getCutEdgeIndices().second[0].index, 7U);
}

TEST_F(ObjFile, APathWithSlashesLosesTheCutWithoutAWord) {
    ASSERT_EQ(loadText(square), "");
    setCut({{3, 7}});
    std::ptrdiff_t const before = countEntries(directory.path());
    ASSERT_EQ(savePath(path("m.obj")), "");
    EXPECT_EQ(countEntries(directory.path()), before + 1);
    ASSERT_EQ(loadPath(path("m.obj")), "");
    EXPECT_EQ(getCut(), (IndexPairs{{3, 7}}));
}

TEST_F(ObjFile, AnyCutFileReadsAsThePlainStreamReadsIt) {
    std::vector<std::string> texts{"",
                                   "\n",
                                   "3",
                                   "3,",
                                   "3, ",
                                   "3,7",
                                   "3 , 7",
                                   "3, 7",
                                   "3, 7\n8, 9",
                                   "3, 7\n8, 9\n",
                                   "a, 7\n",
                                   "3, b\n4, 5",
                                   "-1, -2\n",
                                   "+1, +2\n",
                                   "4294967295, 4294967296\n1, 2\n",
                                   "1.5, 2\n",
                                   "0x10, 010\n",
                                   "3; 7\n4 x 5",
                                   "3, 7\r\n4, 5\r\n",
                                   "99999999999999999999, 1\n"};
    std::mt19937 generator(4);
    for (int round = 0; round < 200; ++round) {
        std::string text;
        for (std::uint32_t length = randomBelow(generator, 20); length > 0; --length) {
            text += "0123456789,,   \n\n-x"[randomBelow(generator, 19)];
        }
        texts.push_back(text);
    }
    writeText(path("x\\m.obj"), oneTriangle);
    for (std::string const& text : texts) {
        writeText(path("x\\m_cut_indices.txt"), text);
        PlainMesh plain;
        ASSERT_EQ(plainLoad(plain, path("x\\m.obj")).failure, "");
        Mesh loaded;
        loaded.load(path("x\\m.obj").c_str());
        ASSERT_EQ(describe(loaded), describe(plain)) << text;
    }
}

TEST_F(ObjFile, ADirectoryInPlaceOfTheCutFileIsHarmless) {
    writeText(path("x\\m.obj"), oneTriangle);
    std::filesystem::create_directory(path("x\\m_cut_indices.txt"));
    EXPECT_EQ(loadPath(path("x\\m.obj")), "");
    setCut({{1, 2}});
    EXPECT_EQ(savePath(path("x\\m.obj")), "");
}

// Progress.

TEST_F(ObjFile, LoadReportsItsStagesAndPercentages) {
    RecordingListener listener;
    mesh.setProgressListener(&listener);
    writeText(path("x\\m.v1.obj"), square);
    ASSERT_EQ(loadPath(path("x\\m.v1.obj")), "");
    std::vector<std::string> const expected{"Initialising file load: m.v1.obj.",
                                            "Reading 3D coordinates...",
                                            "21%",
                                            "41%",
                                            "61%",
                                            "81%",
                                            "Reading 2D coordinates...",
                                            "26%",
                                            "51%",
                                            "76%",
                                            "101%",
                                            "Reading connectivity information...",
                                            "34%",
                                            "67%",
                                            "Constructing triangle mesh...",
                                            "51%"};
    EXPECT_EQ(listener.events, expected);
}

TEST_F(ObjFile, LoadWithoutFlatRecordsDoesNotSpeakOfThem) {
    RecordingListener listener;
    mesh.setProgressListener(&listener);
    ASSERT_EQ(loadText(oneTriangle), "");
    std::vector<std::string> const expected{
        "Initialising file load: " + path("text.obj") + ".", "Reading 3D coordinates...",
        "Reading connectivity information...", "Constructing triangle mesh..."};
    EXPECT_EQ(listener.messages, expected);
}

TEST_F(ObjFile, LoadTellsAFlatStageForAnyVtEvenWithoutARecord) {
    RecordingListener listener;
    mesh.setProgressListener(&listener);
    ASSERT_EQ(loadText(oneTriangle + "# vtx"), "");
    EXPECT_EQ(std::count(listener.messages.begin(), listener.messages.end(), "Reading 2D coordinates..."), 1);
    EXPECT_FALSE(contents.getDoesContain2D());
}

TEST_F(ObjFile, LoadReportsTheFileBeforeItOpensItButNotAWrongExtension) {
    RecordingListener listener;
    mesh.setProgressListener(&listener);
    EXPECT_EQ(loadPath("dir\\m.txt"), "Invalid file extension");
    EXPECT_TRUE(listener.events.empty());
    EXPECT_EQ(loadPath(path("no\\m.obj")), "Cannot open file");
    EXPECT_EQ(listener.events, std::vector<std::string>{"Initialising file load: m.obj."});
}

TEST_F(ObjFile, LoadSendsAPercentageOnlyWhenItIsNew) {
    RecordingListener listener;
    mesh.setProgressListener(&listener);
    ASSERT_EQ(loadText(objText(makeWavyPatch(20, 20))), "");
    std::vector<std::string> const& events = listener.events;
    EXPECT_EQ(std::adjacent_find(events.begin(), events.end()), events.end());
    EXPECT_GT(listener.percentages.size(), 280U); // 441 vertices and 800 faces in three stages
    EXPECT_LE(listener.percentages.size(), 303U);
    EXPECT_LE(*std::max_element(listener.percentages.begin(), listener.percentages.end()), 100U);
}

TEST_F(ObjFile, SaveReportsItsStagesAndPercentages) {
    RecordingListener listener;
    ASSERT_EQ(loadText(square), "");
    mesh.setProgressListener(&listener);
    ASSERT_EQ(savePath(path("x\\m.obj"), true, false), "");
    std::vector<std::string> const expected{"Initialising file save: " + path("x\\m.obj") + ".",
                                            "Writing 3D coordinates...",
                                            "1%",
                                            "26%",
                                            "51%",
                                            "76%",
                                            "Writing 2D coordinates...",
                                            "1%",
                                            "26%",
                                            "51%",
                                            "76%",
                                            "Writing connectivity information...",
                                            "1%",
                                            "51%"};
    EXPECT_EQ(listener.events, expected);
}

TEST_F(ObjFile, SaveOfTheFlatMapAsASurfaceSpeaksOf3DCoordinates) {
    RecordingListener listener;
    ASSERT_EQ(loadText(square), "");
    mesh.setProgressListener(&listener);
    ASSERT_EQ(savePath(path("m.obj"), true, true), "");
    std::vector<std::string> const expected{"Initialising file save: " + path("m.obj") + ".",
                                            "Writing 3D coordinates...",
                                            "Writing connectivity information..."};
    EXPECT_EQ(listener.messages, expected);
    ASSERT_EQ(savePath(path("m.obj"), false, true), "");
    EXPECT_EQ(listener.messages.size(), 5U);
    EXPECT_EQ(listener.messages.back(), "Writing connectivity information...");
}

TEST_F(ObjFile, SaveDoesNotForgetTheLastPercentageBetweenItsGroups) {
    // With one vertex left, each group starts and ends at 1 per cent, which is told once.
    RecordingListener listener;
    ASSERT_EQ(loadText(oneTriangle), "");
    mesh.vertices.resize(1);
    mesh.vertexTriangles.resize(1);
    mesh.setProgressListener(&listener);
    Triangle* const triangle = mesh.vertexTriangles[0].front();
    ASSERT_EQ(triangle->vertexIndices, (std::array<std::uint32_t, 3>{0, 1, 2}));
    ASSERT_EQ(savePath(path("m.obj"), true, false), "");
    EXPECT_EQ(listener.percentages, std::vector<unsigned long>{1});
    EXPECT_EQ(listener.messages.size(), 4U);
}

TEST_F(ObjFile, SaveReportsTheFileBeforeItOpensItButNotAWrongExtension) {
    RecordingListener listener;
    mesh.setProgressListener(&listener);
    EXPECT_EQ(savePath("dir\\m.txt"), "Invalid file extension");
    EXPECT_TRUE(listener.events.empty());
    EXPECT_EQ(savePath(path("none/m.obj")), "Cannot open file");
    EXPECT_EQ(listener.events,
              std::vector<std::string>{"Initialising file save: " + path("none/m.obj") + "."});
}

// Resources and surroundings.

TEST_F(ObjFile, TheFileIsClosedOnEveryPath) {
    std::ptrdiff_t const before = countOpenFiles();
    std::string const vertices = "v 0 0 0\nv 1 0 0\nv 0 1 0\n";
    for (std::string const& text :
         {std::string(), vertices + "vt 1 2\n", vertices + "f 9 1 2\n", vertices + "f 1 2 9\n", vertices,
          vertices + "f 1 2 3\nf 1 2 3\n", oneTriangle, square, objText(makeTwoComponents())}) {
        loadText(text);
        EXPECT_EQ(countOpenFiles(), before) << text;
    }
    loadPath(path("missing.obj"));
    loadPath(path("missing.txt"));
    EXPECT_EQ(countOpenFiles(), before);
    ASSERT_EQ(loadText(square), "");
    setCut({{1, 2}});
    EXPECT_EQ(savePath(path("x\\m.obj"), true, false), "");
    EXPECT_EQ(savePath(path("none/m.obj")), "Cannot open file");
    EXPECT_EQ(loadPath(path("x\\m.obj")), "");
    EXPECT_EQ(getCut().size(), 3U);
    EXPECT_EQ(countOpenFiles(), before);
}

TEST_F(ObjFile, AnExceptionOfTheListenerClosesTheFileToo) {
    class Thrower : public RecordingListener {
    public:
        void setPercentage(unsigned long) override { throw std::runtime_error("stop"); }
    };

    Thrower thrower;
    ASSERT_EQ(loadText(square), "");
    mesh.setProgressListener(&thrower);
    std::ptrdiff_t const before = countOpenFiles();
    EXPECT_EQ(loadPath(path("text.obj")), "stop");
    EXPECT_EQ(countOpenFiles(), before);
    mesh.setProgressListener(nullptr);
    ASSERT_EQ(loadPath(path("text.obj")), "");
    mesh.setProgressListener(&thrower);
    EXPECT_EQ(savePath(path("m.obj")), "stop");
    EXPECT_EQ(countOpenFiles(), before);
}

TEST_F(InterruptedLoad, LeavesTheRecordsReadUntilThenInAMeshThatCanBeUsed) {
    // Few enough records that each gives a percentage of its own.
    Soup const soup = withUnusedVertices(makeWavyPatch(5, 5), 3, 1);
    std::string text = objText(soup);
    for (std::size_t v = 0; v < soup.points.size(); ++v) {
        text += "vt " + std::to_string(v + 1) + " 0.5\n";
    }
    writeText(path("whole.obj"), text);
    RecordingListener recorded;
    Mesh whole;
    whole.setProgressListener(&recorded);
    whole.load(path("whole.obj").c_str());
    for (std::size_t k = 1; k < recorded.events.size(); ++k) {
        SCOPED_TRACE(recorded.events[k]);
        ThrowingListener leaving(k);
        mesh.setProgressListener(&leaving);
        ASSERT_EQ(loadPath(path("whole.obj")), "stop");
        mesh.setProgressListener(nullptr);
        ReadRecords const expected = countRecords(
            {recorded.events.begin(), recorded.events.begin() + static_cast<std::ptrdiff_t>(k) + 1});
        expectRecords(soup, expected);
        useMesh();
        ASSERT_EQ(loadPath(path("whole.obj")), "");
        EXPECT_EQ(describe(mesh), describe(whole));
    }
}

TEST_F(InterruptedLoad, LeavesTheOldMeshAtTheFirstMessage) {
    ASSERT_EQ(loadText(square), "");
    std::string const before = describe(mesh);
    ThrowingListener leaving(0);
    mesh.setProgressListener(&leaving);
    EXPECT_EQ(loadPath(path("text.obj")), "stop");
    EXPECT_EQ(describe(mesh), before);
}

TEST_F(ObjFile, WhatOnlyLooksLikeVerticesMakesNoRoomForThem) {
    std::string text(3000000, 'v');
    for (std::size_t i = 1; i < text.size(); i += 2) {
        text[i] = ' ';
    }
    EXPECT_EQ(loadText(text + "\n" + oneTriangle), "");
    EXPECT_EQ(mesh.getNumberOfVertices(), 3U);
    EXPECT_LE(mesh.vertices.capacity(), text.size() / 6 + 10);
}

TEST_F(ObjFile, ACommaInTheStreamsLocaleChangesNothing) {
    std::string const expected = saveAndLoad(directory.path());
    ASSERT_NE(expected.find("v 1234567.500000 -0.125000 0.001000\n"), std::string::npos);
    ASSERT_NE(expected.find("1234567, 7654321\n"), std::string::npos);
    CommaStreams const comma;
    std::ostringstream probe;
    probe << 1234.5;
    ASSERT_EQ(probe.str(), "1.234,5");
    EXPECT_EQ(saveAndLoad(directory.path()), expected);
}

TEST_F(ObjFile, ACommaInTheCLibrarysLocaleChangesNothing) {
    std::string const expected = saveAndLoad(directory.path());
    CommaCLibrary const comma;
    if (!comma.isSet) {
        GTEST_SKIP() << "this machine has no locale with a decimal comma";
    }
    char probe[16];
    std::snprintf(probe, sizeof probe, "%.1f", 1.5);
    ASSERT_STREQ(probe, "1,5");
    EXPECT_EQ(saveAndLoad(directory.path()), expected);
    EXPECT_TRUE(loadsLikePlainLoader("v 1,5 2 3 v 0x1.8p0 1.25 ,5 v 1.5 2.5 3.5\n"));
}

} // namespace QELT::Testing
