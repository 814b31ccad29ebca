#include "Geometry/quadmesh/files/quadfileheader.h"

#include "Geometry/foundations/internal/percentage.h"
#include "Geometry/quadmesh/files/internal/quadfilewriter.h"
#include "Geometry/quadmesh/rectmesh.h"
#include "tests/support/float_bits.h"
#include "tests/support/fulldisk.h"
#include "tests/support/gridchecks.h"
#include "tests/support/gridfamilies.h"
#include "tests/support/leavinglistener.h"
#include "tests/support/meshfamilies.h"
#include "tests/support/plain_quadfile.h"
#include "tests/support/recordinglistener.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <limits>
#include <locale>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace QELT::Testing {
namespace {

using Geometry::ThreeDimensional::QuadMesh::getCoordinateDataType;
using Geometry::ThreeDimensional::QuadMesh::Nodes;
using Geometry::ThreeDimensional::QuadMesh::openGridOutput;
using Geometry::ThreeDimensional::QuadMesh::QuadFileHeader;
using Geometry::ThreeDimensional::QuadMesh::QuadFileWriter;
using Extents = Geometry::TwoDimensional::Vector<unsigned long>;

constexpr char const* openFailureText = "Quad-mesh file open failure.";
constexpr char const* memoryText = "Insufficient memory to initialise quad-mesh.";

class QuadFile : public testing::Test {
protected:
    std::string file(std::string const& name) const { return directory.file(name); }

    /// Writes the bytes to a file and loads it.
    void loadBytes(RectMesh& grid, std::string const& bytes) const {
        std::string const path = file("bytes.quads");
        writeText(path, bytes);
        grid.load(path.c_str());
    }

    std::string savedBytes(RectMesh& grid) const {
        std::string const path = file("saved.quads");
        grid.save(path.c_str());
        return readText(path);
    }

    TemporaryDirectory directory;
};

/// Bytes `offset` to `offset + size`.
std::string part(std::string const& bytes, std::size_t offset, std::size_t size) {
    return bytes.substr(offset, size);
}

/// One quad in the plane z = 0.5, of node flags 3, 5, 21 and 1, with areas that are not its own.
RectMesh makeOneQuad() {
    RectMesh grid;
    grid.init(Extents(1, 1));
    grid.setPoint({0, 0}, {0.0, 0.0, 0.5});
    grid.setPoint({1, 0}, {1.0, 0.0, 0.5});
    grid.setPoint({0, 1}, {0.0, 2.0, 0.5});
    grid.setPoint({1, 1}, {1.0, 2.0, -0.5});
    grid.setPointFlags({0, 0}, 3);
    grid.setPointFlags({1, 0}, 5);
    grid.setPointFlags({0, 1}, 21);
    grid.meanQuadArea = 2.0;
    grid.minQuadArea = 1.0;
    grid.maxQuadArea = 3.0;
    grid.sourceName = "blade";
    return grid;
}

/// The file of `makeOneQuad`, written down by hand.
std::string oneQuadBytes() {
    return bytesFromHex("51454c5451756164 01000000") + "blade" + std::string(123, '\0') +
           bytesFromHex("01000000 01000000"
                        "0000000000000040 000000000000f03f 0000000000000840"
                        "00000000"
                        "03 05 15 01"
                        "00000000 00000000 0000003f"
                        "0000803f 00000000 0000003f"
                        "00000000 00000040 0000003f"
                        "0000803f 00000040 000000bf");
}

// ---- Writing

TEST_F(QuadFile, TheMagicIsFollowedDirectlyByTheVersion) {
    RectMesh grid = flatGrid(2, 2);
    std::string const bytes = savedBytes(grid);
    EXPECT_EQ(part(bytes, 0, 8), "QELTQuad");
    EXPECT_EQ(part(bytes, 8, 4), std::string("\1\0\0\0", 4));
}

TEST_F(QuadFile, EveryHeaderFieldStandsAtItsOffset) {
    RectMesh grid = flatGrid(300, 2);
    grid.sourceName = "part 7";
    grid.meanQuadArea = 1.5;
    grid.minQuadArea = -0.25;
    grid.maxQuadArea = 1e300;
    std::string const bytes = savedBytes(grid);
    EXPECT_EQ(part(bytes, 12, 128), "part 7" + std::string(122, '\0'));
    EXPECT_EQ(part(bytes, 140, 4), bytesFromHex("2c 01 00 00"));
    EXPECT_EQ(part(bytes, 144, 4), bytesFromHex("02 00 00 00"));
    EXPECT_EQ(part(bytes, 148, 8), bytesFromHex("00 00 00 00 00 00 f8 3f"));
    EXPECT_EQ(part(bytes, 156, 8), bytesFromHex("00 00 00 00 00 00 d0 bf"));
    EXPECT_EQ(part(bytes, 164, 8), bytesFromHex("9c 75 00 88 3c e4 37 7e"));
    EXPECT_EQ(part(bytes, 172, 4), bytesFromHex("00 00 00 00"));
    EXPECT_EQ(bytes.size(), 176U + 301U * 3U + 301U * 3U * 12U);
}

TEST_F(QuadFile, AGridOfOneQuadIsWrittenByteForByte) {
    RectMesh grid = makeOneQuad();
    EXPECT_EQ(savedBytes(grid), oneQuadBytes());
}

TEST_F(QuadFile, AGridWithNoValidNodeWritesFlagsOnly) {
    RectMesh grid;
    grid.init(Extents(1, 1));
    std::string const bytes = savedBytes(grid);
    EXPECT_EQ(bytes.size(), 176U + 4U);
    EXPECT_EQ(part(bytes, 176, 4), std::string(4, '\0'));
}

TEST_F(QuadFile, FilesOfEveryFamilyAreThoseOfThePlainWriter) {
    for (GridFamily& family : gridFamilies(41)) {
        SCOPED_TRACE(family.name);
        scatterFlags(family.grid, 42);
        family.grid.sourceName = family.name;
        EXPECT_EQ(savedBytes(family.grid), encodeQuadFile(quadFileOf(family.grid)));
    }
}

TEST_F(QuadFile, WritingThenReadingKeepsFlagsPointsAreasAndSourceName) {
    for (GridFamily& family : gridFamilies(43)) {
        SCOPED_TRACE(family.name);
        scatterFlags(family.grid, 44);
        family.grid.sourceName = family.name;
        savedBytes(family.grid);
        RectMesh loaded;
        loaded.load(file("saved.quads").c_str());
        EXPECT_TRUE(sameNodes(loaded, gridOfQuadFile(quadFileOf(family.grid))));
        EXPECT_TRUE(sameBits(loaded.getMeanQuadArea(), family.grid.getMeanQuadArea()));
        EXPECT_TRUE(sameBits(loaded.getMinQuadArea(), family.grid.getMinQuadArea()));
        EXPECT_TRUE(sameBits(loaded.getMaxQuadArea(), family.grid.getMaxQuadArea()));
        EXPECT_EQ(loaded.sourceName, family.name);
    }
}

TEST_F(QuadFile, BlocksLongerThanAnyBufferComeThrough) {
    RectMesh grid = noisyGrid(149, 149, 0.4, 45);
    punchSpeckles(grid, 0.1, 46);
    EXPECT_EQ(savedBytes(grid), encodeQuadFile(quadFileOf(grid)));
    RectMesh loaded;
    loaded.load(file("saved.quads").c_str());
    EXPECT_TRUE(sameNodes(loaded, gridOfQuadFile(quadFileOf(grid))));
}

TEST_F(QuadFile, PointsOfInvalidNodesAreNotRestored) {
    RectMesh grid = flatGrid(2, 2, 5.0);
    grid.setPointValidity({1, 1}, false);
    ASSERT_EQ(grid.getPoint({1, 1}), SpacePoint(5.0, 5.0, 0.0));
    savedBytes(grid);
    grid.load(file("saved.quads").c_str());
    EXPECT_EQ(grid.getPoint({1, 1}), SpacePoint());
    EXPECT_FALSE(grid.getIsPointValid({1, 1}));
}

TEST_F(QuadFile, ASourceNameOf200CharactersComesBackCutTo127) {
    RectMesh grid = flatGrid(1, 1);
    grid.sourceName = std::string(120, 'a') + std::string(80, 'b');
    std::string const bytes = savedBytes(grid);
    EXPECT_EQ(bytes[12 + 127], '\0');
    RectMesh loaded;
    loaded.load(file("saved.quads").c_str());
    EXPECT_EQ(loaded.sourceName, std::string(120, 'a') + std::string(7, 'b'));
}

TEST_F(QuadFile, ASourceNameOf127CharactersComesBackWhole) {
    RectMesh grid = flatGrid(1, 1);
    grid.sourceName = std::string(127, 'x');
    savedBytes(grid);
    RectMesh loaded;
    loaded.load(file("saved.quads").c_str());
    EXPECT_EQ(loaded.sourceName, std::string(127, 'x'));
}

TEST_F(QuadFile, ANameFieldWithoutAZeroByteIs128Characters) {
    PlainQuadFile plain = exampleQuadFile(1, 0);
    plain.name = std::string(128, 'n');
    RectMesh grid;
    loadBytes(grid, encodeQuadFile(plain));
    EXPECT_EQ(grid.sourceName, std::string(128, 'n'));
}

TEST_F(QuadFile, APathHoldingBothExtensionsInAnyOrderWritesAQuadsFile) {
    for (char const* name : {"a.obj.quads", "a.quads.obj", "a.quadsx.obj", ".quads"}) {
        RectMesh grid = flatGrid(1, 1);
        grid.save(file(name).c_str());
        EXPECT_EQ(readText(file(name)).substr(0, 8), "QELTQuad") << name;
    }
}

TEST_F(QuadFile, AFolderWithTheExtensionDecidesToo) {
    std::filesystem::create_directories(file("x.quads"));
    RectMesh grid = flatGrid(1, 1);
    grid.save(file("x.quads/plain").c_str());
    EXPECT_EQ(readText(file("x.quads/plain")).substr(0, 8), "QELTQuad");
}

TEST_F(QuadFile, AnObjAnywhereInThePathWritesObjTextAndBecomesTheFileName) {
    RectMesh grid = flatGrid(1, 1);
    std::string const path = file("a.object");
    grid.save(path.c_str());
    EXPECT_EQ(readText(path).substr(0, 2), "#\n");
    EXPECT_EQ(grid.fileName, path);
}

TEST_F(QuadFile, AnUnknownExtensionIsRefusedAndTheFileNameStays) {
    RectMesh grid = flatGrid(1, 1);
    std::string const name = grid.fileName;
    for (char const* path : {"a.quad", "a.OBJ", "a.Quads", "quads", ""}) {
        EXPECT_EQ(messageOf([&] { grid.save(file(path).c_str()); }), "Unsupported file extension") << path;
    }
    EXPECT_EQ(grid.fileName, name);
}

TEST_F(QuadFile, SaveStoresTheWholePathAndLoadTheBareName) {
    RectMesh grid = flatGrid(1, 1);
    std::string const path = directory.path() + "/sub.d\\part.one.quads";
    grid.save(path.c_str());
    EXPECT_EQ(grid.fileName, path);
    grid.load(path.c_str());
    EXPECT_EQ(grid.fileName, "part.one");
}

TEST_F(QuadFile, OnlyABackslashSeparatesFoldersOnLoad) {
    RectMesh grid = flatGrid(1, 1);
    std::string const path = file("part.quads");
    grid.save(path.c_str());
    grid.load(path.c_str());
    EXPECT_EQ(grid.fileName, directory.path() + "/part");
}

TEST_F(QuadFile, ANameWithoutADotAfterTheBackslashStays) {
    RectMesh grid = flatGrid(1, 1);
    std::string const path = file("d.quads\\part");
    grid.save(path.c_str());
    grid.load(path.c_str());
    EXPECT_EQ(grid.fileName, "part");
}

TEST_F(QuadFile, ThePathMayBeTheGridsOwnFileName) {
    RectMesh grid = flatGrid(2, 1);
    grid.save(file("own.quads").c_str());
    grid.save(grid.fileName.c_str());
    EXPECT_EQ(grid.fileName, file("own.quads"));
    grid.load(grid.fileName.c_str());
    EXPECT_EQ(grid.fileName, directory.path() + "/own");
    EXPECT_EQ(grid.getExtents(), Extents(2, 1));
}

TEST_F(QuadFile, ADerivedGridWritesWhatItShows) {
    class Doubled : public RectMesh {
    public:
        explicit Doubled(RectMesh const& source) : RectMesh(source) {}

        SpacePoint getPoint(GridIndex const& p) const override {
            SpacePoint const stored = RectMesh::getPoint(p);
            return {2.0 * stored.getX(), 2.0 * stored.getY(), 2.0 * stored.getZ()};
        }
    };

    RectMesh const grid = flatGrid(2, 1);
    Doubled doubled(grid);
    savedBytes(doubled);
    RectMesh loaded;
    loaded.load(file("saved.quads").c_str());
    EXPECT_EQ(loaded.getPoint({2, 1}), SpacePoint(4.0, 2.0, 0.0));
}

TEST_F(QuadFile, AnEmptyGridIsWrittenAsOneInvalidNodeAndLoadsAgain) {
    RectMesh grid;
    std::string const bytes = savedBytes(grid);
    EXPECT_EQ(bytes.size(), 176U + 1U);
    EXPECT_EQ(part(bytes, 140, 8), std::string(8, '\0'));
    EXPECT_EQ(bytes.back(), '\0');
    RectMesh loaded;
    loaded.load(file("saved.quads").c_str());
    EXPECT_EQ(loaded.getExtents(), Extents(0, 0));
    EXPECT_FALSE(loaded.getIsPointValid({0, 0}));
    EXPECT_EQ(loaded.getPoint({0, 0}), SpacePoint());
}

// ---- Disks that are full

constexpr char const* writeFailureText = "Quad-mesh file write failure.";

/// Three kinds of output, each under a path in the directory.
struct GridOutput {
    char const* name;
    void (*write)(RectMesh& grid, std::string const& path);
    char const* failureText;
};

GridOutput const gridOutputs[] = {
    {"out.quads", [](RectMesh& grid, std::string const& path) { grid.save(path.c_str()); }, writeFailureText},
    {"out.obj", [](RectMesh& grid, std::string const& path) { grid.save(path.c_str()); }, writeFailureText},
    {"alone.obj", [](RectMesh& grid, std::string const& path) { grid.saveAsOBJ(path.c_str()); },
     writeFailureText},
    {"areas.txt", [](RectMesh& grid, std::string const& path) { grid.saveQuadAreaDistribution(path); },
     "Quad area distribution file write failure."},
};

TEST_F(QuadFile, AFullDeviceIsAFailureWhichLeavesTheDeviceAndTheFileName) {
    for (GridOutput const& output : gridOutputs) {
        SCOPED_TRACE(output.name);
        ASSERT_TRUE(linkToFullDevice(file(output.name)));
        for (int const extent : {1, 60, 400}) {
            auto const steps = static_cast<std::uint32_t>(extent);
            RectMesh grid = flatGrid(steps, steps);
            grid.fileName = "former.quads";
            EXPECT_TRUE(failsToOpen([&] { output.write(grid, file(output.name)); }, output.failureText));
            EXPECT_EQ(grid.fileName, "former.quads");
        }
        EXPECT_TRUE(std::filesystem::is_symlink(file(output.name)));
        EXPECT_TRUE(getIsFullDeviceWhole());
    }
}

TEST_F(QuadFile, AFileThatCannotGrowIsAFailureWhereverItEnds) {
    for (GridOutput const& output : gridOutputs) {
        SCOPED_TRACE(output.name);
        RectMesh grid = flatGrid(40, 50);
        output.write(grid, file(output.name));
        std::string const whole = readText(file(output.name));
        for (std::size_t size = 0; size < whole.size(); size += whole.size() / 97U + 1U) {
            FileSizeLimit const limit(size);
            grid.fileName = "former.quads";
            ASSERT_TRUE(failsToOpen([&] { output.write(grid, file(output.name)); }, output.failureText));
            ASSERT_EQ(grid.fileName, "former.quads");
            ASSERT_EQ(readText(file(output.name)), whole.substr(0, size)) << "what was written stays";
        }
        FileSizeLimit const limit(whole.size());
        ASSERT_NO_THROW(output.write(grid, file(output.name)));
    }
}

TEST_F(QuadFile, ASmallDiskTakesWhatFitsAndFailsBeyond) {
    auto const disk = SmallDisk::mount(file("disk"), std::size_t{1} << 16U);
    if (!disk) {
        GTEST_SKIP() << "no right to mount a disk";
    }
    RectMesh small = flatGrid(20, 20);
    small.save(file("disk/small.quads").c_str());
    EXPECT_EQ(small.fileName, file("disk/small.quads"));
    RectMesh large = flatGrid(300, 300);
    large.fileName = "former.quads";
    EXPECT_TRUE(failsToOpen([&] { large.save(file("disk/large.quads").c_str()); }, writeFailureText));
    EXPECT_TRUE(failsToOpen([&] { large.save(file("disk/large.obj").c_str()); }, writeFailureText));
    EXPECT_EQ(large.fileName, "former.quads");
}

TEST_F(QuadFile, AListenerHearsAWriteThatFailsAndTheGridWritesElsewhereAfterwards) {
    RectMesh grid = flatGrid(60, 60);
    RecordingListener listener;
    grid.setProgressListener(&listener);
    ASSERT_TRUE(linkToFullDevice(file("full.quads")));
    EXPECT_EQ(messageOf([&] { grid.save(file("full.quads").c_str()); }), writeFailureText);
    EXPECT_TRUE(listener.messages.empty()) << "the header is the first to fail";
    grid.save(file("whole.quads").c_str());
    EXPECT_EQ(listener.messages,
              (std::vector<std::string>{"Writing point flags...", "Writing quad points..."}));
    EXPECT_EQ(listener.percentages.size(), 200U);
    EXPECT_EQ(grid.fileName, file("whole.quads"));
}

// ---- Coordinate types

TEST(CoordinateDataType, FloatsAre0DoublesAre1IntegersAre2AndAnythingElse3) {
    EXPECT_EQ(getCoordinateDataType<float>(), 0U);
    EXPECT_EQ(getCoordinateDataType<double>(), 1U);
    EXPECT_EQ(getCoordinateDataType<int>(), 2U);
    EXPECT_EQ(getCoordinateDataType<long double>(), 3U);
    EXPECT_EQ(getCoordinateDataType<unsigned>(), 3U);
    EXPECT_EQ(getCoordinateDataType<char>(), 3U);
}

/// The point block of the grid in a coordinate data type, written in rows or node by node.
std::string pointBlock(RectMesh const& grid, std::uint32_t type, std::string const& path,
                       bool areRowsGiven = true) {
    {
        OutputFile target = openGridOutput(path.c_str(), OutputFile::Mode::Binary);
        ProgressListener* const none = nullptr;
        PercentageReporter progress(none);
        std::function<Nodes()> const getRows = [&] { return grid.getNodes(); };
        QuadFileWriter(target, grid, areRowsGiven ? getRows : nullptr).writePoints(type, progress);
        target.close();
    }
    return readText(path);
}

TEST_F(QuadFile, RowsAreWrittenAsTheirNodesOneByOneInEveryType) {
    for (GridFamily& family : gridFamilies(35)) {
        SCOPED_TRACE(family.name);
        scatterFlags(family.grid, 36);
        ShearedGrid sheared;
        sheared.RectMesh::operator=(family.grid);
        for (std::uint32_t const type : {0U, 1U, 2U}) {
            for (RectMesh const* const grid : {&family.grid, static_cast<RectMesh*>(&sheared)}) {
                EXPECT_EQ(pointBlock(*grid, type, file("rows")),
                          pointBlock(*grid, type, file("nodes"), false));
            }
        }
    }
}

/// What a listener hears, and what the file then holds, of a save that may fail.
std::pair<std::vector<std::string>, std::string> heardAndWritten(RectMesh& grid, std::string const& path,
                                                                 bool areRowsGiven) {
    RecordingListener listener;
    ProgressListener* const owners = &listener;
    PercentageReporter progress(owners);
    try {
        OutputFile target = openGridOutput(path.c_str(), OutputFile::Mode::Binary);
        std::function<Nodes()> const getRows = [&] { return grid.getNodes(); };
        QuadFileWriter writer(target, grid, areRowsGiven ? getRows : nullptr);
        writer.writeFlags(progress);
        progress.restart();
        writer.writePoints(0, progress);
        target.close();
    } catch (std::ios_base::failure const& failure) {
        listener.events.emplace_back(failure.what());
    }
    return {listener.events, readText(path)};
}

TEST_F(QuadFile, AFailingWriteIsHeardOfAtTheSameNodeInRowsAsNodeByNode) {
    RectMesh grid = wavyGrid(301, 260, 2.0);
    punchSpeckles(grid, 0.1, 3);
    std::size_t const whole = heardAndWritten(grid, file("whole"), true).second.size();
    for (std::size_t size = 0; size < whole + 1; size += whole / 61U) {
        FileSizeLimit const limit(size);
        EXPECT_EQ(heardAndWritten(grid, file("rows"), true), heardAndWritten(grid, file("nodes"), false))
            << size;
    }
}

TEST_F(QuadFile, AListenerThatEmptiesTheGridWhileItIsWrittenLeavesNodesOfNothing) {
    for (unsigned call = 1; call <= 40; ++call) {
        std::array<std::string, 2> written;
        for (bool const areRowsGiven : {false, true}) {
            RectMesh grid = wavyGrid(20, 11, 2.0);
            unsigned callCount = 0;
            LeavingListener listener(
                call, LeavingListener::Fate::Stays, [&] { grid.clear(); }, callCount);
            ProgressListener* const owners = &listener;
            PercentageReporter progress(owners);
            OutputFile target = openGridOutput(file("emptied").c_str(), OutputFile::Mode::Binary);
            std::function<Nodes()> const getRows = [&] { return grid.getNodes(); };
            QuadFileWriter writer(target, grid, areRowsGiven ? getRows : nullptr);
            writer.writeFlags(progress);
            progress.restart();
            writer.writePoints(0, progress);
            target.close();
            written[areRowsGiven ? 1 : 0] = readText(file("emptied"));
        }
        EXPECT_EQ(written[0], written[1]) << call;
    }
}

TEST_F(QuadFile, DoublesAreWrittenWiderThanTheyAreStored) {
    RectMesh const grid = makeGrid(0, 0, [](int, int) { return SpacePoint(0.1, -2.5, 1e20); });
    std::string const bytes = pointBlock(grid, 1, file("points"));
    EXPECT_EQ(bytes, doubleBytes(static_cast<double>(0.1F)) + doubleBytes(-2.5) +
                         doubleBytes(static_cast<double>(1e20F)));
}

TEST_F(QuadFile, IntegersAreTruncatedTowardsZero) {
    RectMesh const grid = makeGrid(1, 0, [](int u, int) {
        return u == 0 ? SpacePoint(2.9, -2.9, -0.5) : SpacePoint(16777216.0, 1e20, -1e20);
    });
    EXPECT_EQ(pointBlock(grid, 2, file("points")),
              bytesFromHex("02000000 feffffff 00000000 00000001 ffffff7f 00000080"));
}

TEST_F(QuadFile, FloatsAreTheLibrarysOwnType) {
    RectMesh const grid = makeGrid(0, 0, [](int, int) { return SpacePoint(1.0, -2.0, 0.1); });
    EXPECT_EQ(pointBlock(grid, 0, file("points")), bytesFromHex("0000803f 000000c0 cdcccc3d"));
}

TEST_F(QuadFile, AnUnknownTypeIsRefusedWithAPeriodOnWriting) {
    RectMesh const grid = flatGrid(1, 1);
    for (std::uint32_t const type : {3U, 4U, 0xFFFFFFFFU}) {
        EXPECT_EQ(messageOf([&] { pointBlock(grid, type, file("points")); }),
                  "Unsupported coordinate data-type.");
    }
}

TEST_F(QuadFile, AnUnknownTypeIsRefusedWithoutAPeriodOnReadingAndTheFlagsAreInPlace) {
    PlainQuadFile plain = exampleQuadFile(1, 0);
    std::string bytes = encodeQuadFile(plain);
    bytes[172] = 3;
    RectMesh grid;
    EXPECT_EQ(messageOf([&] { loadBytes(grid, bytes); }), "Unsupported coordinate data-type");
    for (std::array<double, 3>& point : plain.points) {
        point = {};
    }
    EXPECT_TRUE(sameNodes(grid, gridOfQuadFile(plain)));
    EXPECT_EQ(grid.getMeanQuadArea(), 1.25);
    EXPECT_EQ(grid.sourceName, "example part");
    EXPECT_EQ(grid.fileName, directory.path() + "/bytes");
}

// ---- Progress and area snap

TEST_F(QuadFile, ProgressHasTwoTextsAndSharesOfAllNodesRoundedDownPlusOne) {
    RectMesh grid = flatGrid(2, 1);
    punchHole(grid, {1, 0}, {1, 0});
    RecordingListener recorder;
    grid.setProgressListener(&recorder);
    savedBytes(grid);
    std::vector<std::string> const expected{
        "Writing point flags...", "1%", "17%", "34%", "51%", "67%", "84%",
        "Writing quad points...", "1%", "17%", "34%", "51%", "67%", "84%"};
    EXPECT_EQ(recorder.events, expected);
}

TEST_F(QuadFile, PercentagesAreSentOnceEach) {
    RectMesh grid = flatGrid(30, 30);
    RecordingListener recorder;
    grid.setProgressListener(&recorder);
    savedBytes(grid);
    std::vector<std::string> expected;
    for (char const* text : {"Writing point flags...", "Writing quad points..."}) {
        expected.emplace_back(text);
        for (int percent = 1; percent <= 100; ++percent) {
            expected.push_back(std::to_string(percent) + "%");
        }
    }
    EXPECT_EQ(recorder.events, expected);
}

TEST_F(QuadFile, LoadingAndObjExportReportNothing) {
    RectMesh grid = flatGrid(5, 5);
    savedBytes(grid);
    RecordingListener recorder;
    grid.setProgressListener(&recorder);
    grid.load(file("saved.quads").c_str());
    grid.saveAsOBJ(file("grid.obj").c_str());
    EXPECT_TRUE(recorder.events.empty());
}

TEST_F(QuadFile, AreasAreNotSnappedUnlessAskedFor) {
    RectMesh grid = makeOneQuad();
    EXPECT_FALSE(grid.doSnapQuadAreas);
    EXPECT_EQ(grid.quadAreaTolerance, 0.1);
    grid.targetQuadArea = 100.0;
    EXPECT_EQ(savedBytes(grid), oneQuadBytes());
    EXPECT_EQ(grid.getMeanQuadArea(), 2.0);
}

TEST_F(QuadFile, EachAreaBeyondTheToleranceIsSnappedInTheGridAndInTheFile) {
    RectMesh grid = makeOneQuad();
    grid.doSnapQuadAreas = true;
    grid.targetQuadArea = 2.1;
    std::string const bytes = savedBytes(grid);
    EXPECT_EQ(grid.getMeanQuadArea(), 2.0);
    EXPECT_EQ(grid.getMinQuadArea(), 2.1);
    EXPECT_EQ(grid.getMaxQuadArea(), 2.1);
    EXPECT_EQ(part(bytes, 148, 24), doubleBytes(2.0) + doubleBytes(2.1) + doubleBytes(2.1));
}

TEST_F(QuadFile, AreasAtTheLimitsOfTheToleranceStay) {
    RectMesh grid = makeOneQuad();
    grid.doSnapQuadAreas = true;
    grid.quadAreaTolerance = 0.5;
    grid.targetQuadArea = 2.0;
    savedBytes(grid);
    EXPECT_EQ(grid.getMinQuadArea(), 1.0);
    EXPECT_EQ(grid.getMaxQuadArea(), 3.0);
}

// ---- Reading

TEST_F(QuadFile, APinnedFileOfVersion1WithFloatsIsRead) {
    RectMesh grid;
    loadBytes(grid, oneQuadBytes());
    EXPECT_EQ(grid.getExtents(), Extents(1, 1));
    EXPECT_EQ(grid.getPoint({0, 0}), SpacePoint(0.0, 0.0, 0.5));
    EXPECT_EQ(grid.getPoint({1, 0}), SpacePoint(1.0, 0.0, 0.5));
    EXPECT_EQ(grid.getPoint({0, 1}), SpacePoint(0.0, 2.0, 0.5));
    EXPECT_EQ(grid.getPoint({1, 1}), SpacePoint(1.0, 2.0, -0.5));
    EXPECT_EQ(grid.getPointFlags({0, 0}), 3);
    EXPECT_EQ(grid.getPointFlags({1, 0}), 5);
    EXPECT_EQ(grid.getPointFlags({0, 1}), 21);
    EXPECT_EQ(grid.getPointFlags({1, 1}), 1);
    EXPECT_EQ(grid.getMeanQuadArea(), 2.0);
    EXPECT_EQ(grid.getMinQuadArea(), 1.0);
    EXPECT_EQ(grid.getMaxQuadArea(), 3.0);
    EXPECT_EQ(grid.sourceName, "blade");
}

/// A file of version 1 with two nodes in a row, the second invalid, up to its points.
std::string twoNodesBytes(char const* coordinateDataType) {
    return bytesFromHex("51454c5451756164 01000000") + std::string(128, '\0') +
           bytesFromHex("01000000 00000000") + std::string(24, '\0') + bytesFromHex(coordinateDataType) +
           bytesFromHex("01 00");
}

TEST_F(QuadFile, APinnedFileOfVersion1WithDoublesIsRoundedToFloats) {
    RectMesh grid;
    loadBytes(grid, twoNodesBytes("01000000") + bytesFromHex("9a9999999999b93f"    // 0.1
                                                             "00000000000008c0"    // -3
                                                             "9c7500883ce4377e")); // 1e300
    EXPECT_EQ(grid.getPoint({0, 0}).getX(), 0.1F);
    EXPECT_EQ(grid.getPoint({0, 0}).getY(), -3.0F);
    EXPECT_EQ(grid.getPoint({0, 0}).getZ(), std::numeric_limits<float>::infinity());
    EXPECT_FALSE(grid.getIsPointValid({1, 0}));
}

TEST_F(QuadFile, APinnedFileOfVersion1WithIntegersIsRead) {
    RectMesh grid;
    loadBytes(grid, twoNodesBytes("02000000") + bytesFromHex("07000000 feffffff 00000080"));
    EXPECT_EQ(grid.getPoint({0, 0}), SpacePoint(7.0, -2.0, -2147483648.0));
}

TEST_F(QuadFile, FlagBytesOfVersion1ComeBackUnchangedWithBitsOfNoMeaning) {
    PlainQuadFile plain = exampleQuadFile(1, 0);
    plain.flags = {0xFF, 0x80, 0x7E, 8, 0, 1, 2, 4, 16, 32, 0xFE, 0x81, 1, 1, 1, 1, 1, 1, 1, 0xEE};
    RectMesh grid;
    loadBytes(grid, encodeQuadFile(plain));
    EXPECT_TRUE(sameNodes(grid, gridOfQuadFile(plain)));
    EXPECT_EQ(static_cast<unsigned char>(grid.getPointFlags({0, 0})), 0xFF);
    EXPECT_FALSE(grid.getIsPointValid({2, 0}));
}

TEST_F(QuadFile, TheThreeCoordinateTypesGiveTheSameGridOfWholeNumbers) {
    for (std::uint32_t const type : {0U, 1U, 2U}) {
        PlainQuadFile const plain = exampleQuadFile(1, type);
        RectMesh grid;
        loadBytes(grid, encodeQuadFile(plain));
        EXPECT_TRUE(sameNodes(grid, gridOfQuadFile(exampleQuadFile(1, 0)))) << type;
    }
}

/// A version 0 file of 2 x 2 nodes, written down by hand; its last node is not valid but has a point.
std::string versionZeroBytes() {
    std::string const one = "000000000000f03f";
    std::string const two = "0000000000000040";
    std::string const zero = "0000000000000000";
    std::string const half = "000000000000e03f";
    return bytesFromHex("51454c5451756164 00000000") + "old" + std::string(125, '\0') +
           bytesFromHex("01000000 01000000" + two + one + "0000000000000840") + bytesFromHex("01 80 02 00") +
           bytesFromHex(zero + zero + half + one + zero + half + zero + two + half + one + one + one);
}

TEST_F(QuadFile, APinnedFileOfVersion0IsRead) {
    RectMesh grid;
    grid.sourceName = "kept";
    loadBytes(grid, versionZeroBytes());
    EXPECT_EQ(versionZeroBytes().size(), 172U + 4U + 4U * 24U);
    EXPECT_EQ(grid.getExtents(), Extents(1, 1));
    EXPECT_EQ(grid.getPoint({0, 0}), SpacePoint(0.0, 0.0, 0.5));
    EXPECT_EQ(grid.getPoint({1, 0}), SpacePoint(1.0, 0.0, 0.5));
    EXPECT_EQ(grid.getPoint({0, 1}), SpacePoint(0.0, 2.0, 0.5));
    EXPECT_EQ(grid.getPoint({1, 1}), SpacePoint()) << "the point of an invalid node is dropped";
    EXPECT_EQ(grid.getPointFlags({0, 0}), 3) << "valid and interior: its neighbours are valid";
    EXPECT_EQ(grid.getPointFlags({1, 0}), 5) << "valid and boundary";
    EXPECT_EQ(grid.getPointFlags({0, 1}), 5) << "valid and boundary";
    EXPECT_EQ(grid.getPointFlags({1, 1}), 0);
    EXPECT_EQ(grid.getMeanQuadArea(), 2.0);
    EXPECT_EQ(grid.getMinQuadArea(), 1.0);
    EXPECT_EQ(grid.getMaxQuadArea(), 3.0);
    EXPECT_EQ(grid.sourceName, "kept");
    EXPECT_EQ(grid.fileName, directory.path() + "/bytes");
}

TEST_F(QuadFile, ValidNodesOfVersion0AreBoundaryOrInteriorAndNeverCut) {
    for (GridFamily& family : gridFamilies(47)) {
        SCOPED_TRACE(family.name);
        PlainQuadFile plain = quadFileOf(family.grid);
        plain.version = 0;
        RectMesh grid;
        loadBytes(grid, encodeQuadFile(plain));
        EXPECT_TRUE(sameNodes(grid, gridOfQuadFile(plain)));
        for (int v = 0; v <= static_cast<int>(plain.extentV); ++v) {
            for (int u = 0; u <= static_cast<int>(plain.extentU); ++u) {
                bool const isValid = grid.getIsPointValid({u, v});
                EXPECT_EQ(grid.getPointFlag({u, v}, RectMesh::Boundary), grid.getIsBoundaryPoint({u, v}));
                EXPECT_EQ(grid.getPointFlag({u, v}, RectMesh::Interior),
                          isValid && !grid.getIsBoundaryPoint({u, v}));
                EXPECT_FALSE(grid.getPointFlag({u, v}, RectMesh::CutBoundary));
            }
        }
    }
}

TEST_F(QuadFile, TheHeaderOfVersion0HasNoDataTypeAndCountsAsDoubles) {
    writeText(file("a.quads"), versionZeroBytes());
    std::ifstream stream(file("a.quads"), std::ios::binary);
    QuadFileHeader header;
    RectMesh::readFileHeader(stream, header);
    EXPECT_EQ(header.version, 0U);
    EXPECT_EQ(header.coordinateDataType, 1U);
    EXPECT_EQ(static_cast<int>(stream.tellg()), 172);
}

TEST_F(QuadFile, TheHeaderOfVersion1EndsBehindItsDataType) {
    writeText(file("a.quads"), encodeQuadFile(exampleQuadFile(1, 2)));
    std::ifstream stream(file("a.quads"), std::ios::binary);
    QuadFileHeader header;
    RectMesh::readFileHeader(stream, header);
    EXPECT_EQ(std::string(header.name), "example part");
    EXPECT_EQ(header.version, 1U);
    EXPECT_EQ(header.extentU, 4U);
    EXPECT_EQ(header.extentV, 3U);
    EXPECT_EQ(header.meanQuadArea, 1.25);
    EXPECT_EQ(header.minQuadArea, 0.75);
    EXPECT_EQ(header.maxQuadArea, 2.5);
    EXPECT_EQ(header.coordinateDataType, 2U);
    EXPECT_EQ(static_cast<int>(stream.tellg()), 176);
}

/// A user's class may read the header of a file that it opened itself.
class HeaderReader : public RectMesh {
public:
    static QuadFileHeader read(std::ifstream& stream) {
        QuadFileHeader header;
        readFileHeader(stream, header);
        return header;
    }
};

std::string nameIn(QuadFileHeader const& header) {
    return {header.name, sizeof(header.name)};
}

TEST_F(QuadFile, TheWholeHeaderIsReadAtAPathForEveryVersionAndType) {
    for (std::uint32_t const version : {0U, 1U, 7U}) {
        for (std::uint32_t const type : {0U, 1U, 2U, 9U}) {
            SCOPED_TRACE(testing::Message() << "version " << version << ", type " << type);
            PlainQuadFile expected = exampleQuadFile(1, 0);
            expected.version = version;
            expected.coordinateDataType = type;
            std::string bytes = encodeQuadFile(expected);
            writeText(file("a.quads"), bytes);
            QuadFileHeader const header = RectMesh::getFileHeader(file("a.quads").c_str());
            EXPECT_EQ(nameIn(header), part(bytes, 12, 128));
            EXPECT_EQ(header.version, version);
            EXPECT_EQ(header.extentU, 4U);
            EXPECT_EQ(header.extentV, 3U);
            EXPECT_EQ(header.meanQuadArea, 1.25);
            EXPECT_EQ(header.minQuadArea, 0.75);
            EXPECT_EQ(header.maxQuadArea, 2.5);
            EXPECT_EQ(header.coordinateDataType, version == 0 ? 1U : type);
        }
    }
}

TEST_F(QuadFile, ADerivedClassReadsTheHeaderThatThePathHas) {
    for (std::size_t const size : {8U, 11U, 12U, 100U, 139U, 140U, 163U, 175U, 176U, 300U}) {
        SCOPED_TRACE(size);
        writeText(file("a.quads"), encodeQuadFile(exampleQuadFile(1, 2)).substr(0, size));
        std::ifstream stream(file("a.quads"), std::ios::binary);
        QuadFileHeader const read = HeaderReader::read(stream);
        QuadFileHeader const found = RectMesh::getFileHeader(file("a.quads").c_str());
        EXPECT_EQ(nameIn(read), nameIn(found));
        EXPECT_EQ(read.version, found.version);
        EXPECT_EQ(read.extentU, found.extentU);
        EXPECT_EQ(read.extentV, found.extentV);
        EXPECT_EQ(read.meanQuadArea, found.meanQuadArea);
        EXPECT_EQ(read.minQuadArea, found.minQuadArea);
        EXPECT_EQ(read.maxQuadArea, found.maxQuadArea);
        EXPECT_EQ(read.coordinateDataType, found.coordinateDataType);
        EXPECT_EQ(read.extentV, size >= 148 ? 3U : 0U);
    }
}

TEST_F(QuadFile, AHeaderThatIsNoneIsAFailureAndLeavesTheOneInHand) {
    writeText(file("a.quads"), "QELTQuaD and more");
    EXPECT_EQ(messageOf([&] { RectMesh::getFileHeader(file("a.quads").c_str()); }), "Invalid .quads file.");
    EXPECT_TRUE(failsToOpen([&] { RectMesh::getFileHeader(file("none.quads").c_str()); }, openFailureText));
    std::ifstream stream(file("a.quads"), std::ios::binary);
    QuadFileHeader header;
    header.extentU = 5;
    EXPECT_THROW(RectMesh::readFileHeader(stream, header), std::runtime_error);
    EXPECT_EQ(header.extentU, 5U);
}

struct HeaderItems {
    unsigned long extentU = 99;
    unsigned long extentV = 99;
    double meanArea = 99.0;
    double minArea = 99.0;
    double maxArea = 99.0;
};

HeaderItems headerItems(std::string const& path) {
    HeaderItems items;
    RectMesh::getFileHeaderItems(path.c_str(), items.extentU, items.extentV, items.meanArea, items.minArea,
                                 items.maxArea);
    return items;
}

TEST_F(QuadFile, AFileOfVersion7ShowsItsHeaderButDoesNotLoadAndTheFileNameHasChanged) {
    PlainQuadFile plain = exampleQuadFile(7, 0);
    writeText(file("seven.quads"), encodeQuadFile(plain));
    HeaderItems const items = headerItems(file("seven.quads"));
    EXPECT_EQ(items.extentU, 4U);
    EXPECT_EQ(items.extentV, 3U);
    EXPECT_EQ(items.meanArea, 1.25);
    EXPECT_EQ(items.minArea, 0.75);
    EXPECT_EQ(items.maxArea, 2.5);

    RectMesh grid = flatGrid(2, 2);
    PlainGrid const before = plainGridOf(grid);
    EXPECT_EQ(messageOf([&] { grid.load(file("seven.quads").c_str()); }), "Unsupported .quad file version.");
    EXPECT_EQ(grid.fileName, directory.path() + "/seven");
    EXPECT_TRUE(sameNodes(grid, before));
}

TEST_F(QuadFile, AnotherMagicIsRefusedAndNothingChanges) {
    RectMesh grid = flatGrid(2, 2);
    PlainGrid const before = plainGridOf(grid);
    std::string const name = grid.fileName;
    std::string const rest = encodeQuadFile(exampleQuadFile(1, 0)).substr(8);
    for (std::string const start : {"QELTquad", "qeltQuad", "QELTQua ", "\0ELTQuad"}) {
        EXPECT_EQ(messageOf([&] { loadBytes(grid, start + rest); }), "Invalid .quads file.");
        EXPECT_EQ(messageOf([&] { headerItems(file("bytes.quads")); }), "Invalid .quads file.");
    }
    EXPECT_EQ(grid.fileName, name);
    EXPECT_TRUE(sameNodes(grid, before));
}

TEST_F(QuadFile, ADirectoryIsNoQuadsFile) {
    std::filesystem::create_directories(file("folder.quads"));
    RectMesh grid;
    std::string const message = messageOf([&] { grid.load(file("folder.quads").c_str()); });
    EXPECT_TRUE(message == "Invalid .quads file." || message == openFailureText) << message;
}

TEST_F(QuadFile, FilesThatCannotBeOpenedGiveTheStreamErrorAndTheTextAlone) {
    RectMesh grid = flatGrid(2, 2);
    PlainGrid const before = plainGridOf(grid);
    std::string const name = grid.fileName;
    std::string const path = file("no such folder/a.quads");
    std::string const objPath = file("no such folder/a.obj");
    EXPECT_TRUE(failsToOpen([&] { grid.load(path.c_str()); }, openFailureText));
    EXPECT_TRUE(failsToOpen([&] { headerItems(path); }, openFailureText));
    EXPECT_TRUE(failsToOpen([&] { grid.save(path.c_str()); }, openFailureText));
    EXPECT_TRUE(failsToOpen([&] { grid.save(objPath.c_str()); }, openFailureText));
    EXPECT_TRUE(failsToOpen([&] { grid.saveAsOBJ(objPath.c_str()); }, openFailureText));
    EXPECT_EQ(grid.fileName, name);
    EXPECT_TRUE(sameNodes(grid, before));
}

TEST_F(QuadFile, AFailedSaveDoesNotSnapTheAreas) {
    RectMesh grid = makeOneQuad();
    grid.doSnapQuadAreas = true;
    grid.targetQuadArea = 50.0;
    EXPECT_TRUE(failsToOpen([&] { grid.save(file("none/a.quads").c_str()); }, openFailureText));
    EXPECT_EQ(grid.getMeanQuadArea(), 2.0);
}

TEST_F(QuadFile, LoadingKeepsTheSettingsThatTheFileDoesNotHold) {
    RectMesh grid = flatGrid(9, 9);
    RecordingListener recorder;
    grid.setOffset({-4, 9});
    grid.setAxisFlipFlags(true, true);
    grid.setDoFlipNormals(true);
    grid.setDoUseDoubleSided(true);
    grid.setActivePositionFlags(12);
    grid.setPosition(3);
    grid.setProgressListener(&recorder);
    grid.targetQuadArea = 8.0;
    grid.quadAreaTolerance = 0.25;
    grid.quadsPerSearchPoint = 2;
    loadBytes(grid, encodeQuadFile(exampleQuadFile(1, 0)));
    EXPECT_EQ(grid.getOffset(), Geometry::TwoDimensional::Vector<int>(-4, 9));
    EXPECT_TRUE(grid.doFlipUAxis && grid.doFlipVAxis && grid.doFlipNormals && grid.doUseDoubleSided);
    EXPECT_EQ(grid.activePositionFlags, 12U);
    EXPECT_EQ(grid.position, 3U);
    EXPECT_EQ(grid.progressListener, &recorder);
    EXPECT_EQ(grid.targetQuadArea, 8.0);
    EXPECT_EQ(grid.quadAreaTolerance, 0.25);
    EXPECT_EQ(grid.quadsPerSearchPoint, 2U);
}

TEST_F(QuadFile, LoadingRebuildsTheSearchPoints) {
    for (GridFamily& family : gridFamiliesWithQuads(48)) {
        SCOPED_TRACE(family.name);
        savedBytes(family.grid);
        RectMesh grid;
        grid.quadsPerSearchPoint = 10;
        grid.load(file("saved.quads").c_str());
        EXPECT_TRUE(sameSearchPoints(grid, gridOfQuadFile(quadFileOf(family.grid))));
    }
}

TEST_F(QuadFile, ASingleRowOrColumnLoadsWithoutSearchPoints) {
    for (bool const isRow : {true, false}) {
        RectMesh source = isRow ? wavyGrid(7, 0, 1.0) : wavyGrid(0, 7, 1.0);
        savedBytes(source);
        RectMesh grid = flatGrid(20, 20);
        grid.load(file("saved.quads").c_str());
        EXPECT_TRUE(sameNodes(grid, plainGridOf(source)));
        EXPECT_EQ(grid.numberOfSearchPointsU, 1U);
        EXPECT_EQ(grid.numberOfSearchPointsV, 1U);
        EXPECT_TRUE(grid.searchPoints.empty());
    }
}

TEST_F(QuadFile, ASmallerGridLoadedAfterAHitFarOutIsSearchedFromItsCorner) {
    RectMesh grid = flatGrid(40, 40);
    ASSERT_TRUE(grid.getIntersection({35.3, 36.6, 5.0}, {0.0, 0.0, -1.0}).getIsValid());
    RectMesh small = flatGrid(2, 2);
    savedBytes(small);
    grid.load(file("saved.quads").c_str());
    EXPECT_FALSE(grid.doResetSearch);
    EXPECT_EQ(grid.lastQuadIndices, GridIndex(35, 36));
    EXPECT_TRUE(grid.getIntersectionStatus({0.3, 1.6, 5.0}, {0.0, 0.0, -1.0}, false).getIsValid());
    EXPECT_EQ(grid.lastQuadIndices, GridIndex(0, 1));
}

TEST_F(QuadFile, AColdGridStaysColdWhenAFileIsLoaded) {
    RectMesh source = flatGrid(9, 9);
    savedBytes(source);
    RectMesh grid = flatGrid(9, 9);
    ASSERT_TRUE(grid.getIntersection({7.3, 6.6, 5.0}, {0.0, 0.0, -1.0}).getIsValid());
    grid.resetQuadIndicesSearch();
    grid.load(file("saved.quads").c_str());
    EXPECT_TRUE(grid.doResetSearch);
    EXPECT_EQ(grid.lastQuadIndices, GridIndex(7, 6));
}

// ---- Damaged files

/// Reads the bytes from memory, in a buffer of exactly their size: the header, then the blocks.
void loadFromMemory(RectMesh& grid, std::string const& bytes, QuadFileHeader& header) {
    std::stringbuf buffer(bytes, std::ios_base::in);
    std::ifstream stream;
    static_cast<std::istream&>(stream).rdbuf(&buffer);
    RectMesh::readFileHeader(stream, header);
    if (header.version == 0) {
        grid.loadv0(header, stream);
    } else {
        grid.loadv1(header, stream);
    }
}

TEST(QuadFileBlocks, EveryPrefixOfAGoodFileIsReadWithWhatIsMissingZero) {
    for (std::uint32_t const kind : {0U, 1U, 2U, 3U}) {
        std::string const whole = encodeQuadFile(exampleQuadFile(kind == 3U ? 0U : 1U, kind));
        for (std::size_t size = 8; size <= whole.size(); ++size) {
            SCOPED_TRACE(testing::Message() << "kind " << kind << ", " << size << " bytes");
            PlainQuadFile const expected = decodeQuadFile(whole.substr(0, size));
            RectMesh grid = flatGrid(3, 1);
            QuadFileHeader header;
            ASSERT_NO_THROW(loadFromMemory(grid, whole.substr(0, size), header));
            ASSERT_TRUE(sameNodes(grid, gridOfQuadFile(expected)));
            ASSERT_EQ(std::string(header.name, sizeof(header.name)), expected.name);
            ASSERT_EQ(header.version, expected.version);
            ASSERT_EQ(header.coordinateDataType, expected.coordinateDataType);
            ASSERT_EQ(grid.getMeanQuadArea(), expected.meanQuadArea);
            ASSERT_EQ(grid.getMinQuadArea(), expected.minQuadArea);
            ASSERT_EQ(grid.getMaxQuadArea(), expected.maxQuadArea);
        }
    }
}

TEST_F(QuadFile, EveryPrefixOfASmallFileOnDiskLoads) {
    for (std::string const& whole : {oneQuadBytes(), versionZeroBytes()}) {
        for (std::size_t size = 8; size <= whole.size(); ++size) {
            SCOPED_TRACE(size);
            PlainQuadFile const expected = decodeQuadFile(whole.substr(0, size));
            RectMesh grid = flatGrid(3, 1);
            ASSERT_NO_THROW(loadBytes(grid, whole.substr(0, size)));
            ASSERT_TRUE(sameNodes(grid, gridOfQuadFile(expected)));
            ASSERT_EQ(grid.getMaxQuadArea(), expected.maxQuadArea);
        }
    }
}

TEST_F(QuadFile, ACutMagicIsNoQuadsFile) {
    RectMesh grid;
    for (std::size_t size = 0; size < 8; ++size) {
        EXPECT_EQ(messageOf([&] { loadBytes(grid, std::string("QELTQuad").substr(0, size)); }),
                  "Invalid .quads file.");
    }
}

TEST_F(QuadFile, AHeaderFieldThatIsCutReadsAsZeroAltogether) {
    std::string const whole = encodeQuadFile(exampleQuadFile(1, 2));
    writeText(file("a.quads"), whole.substr(0, 163));
    HeaderItems const items = headerItems(file("a.quads"));
    EXPECT_EQ(items.meanArea, 1.25);
    EXPECT_EQ(items.minArea, 0.0) << "one byte short";
    EXPECT_EQ(items.maxArea, 0.0);

    writeText(file("b.quads"), whole.substr(0, 100));
    std::ifstream stream(file("b.quads"), std::ios::binary);
    QuadFileHeader header;
    header.extentU = 5;
    RectMesh::readFileHeader(stream, header);
    EXPECT_EQ(header.version, 1U);
    EXPECT_EQ(std::string(header.name, sizeof(header.name)), std::string(128, '\0'));
    EXPECT_EQ(header.extentU, 0U);
    EXPECT_EQ(header.coordinateDataType, 0U);
}

TEST_F(QuadFile, ExtentsThatTheFileCannotFillStillSizeTheGrid) {
    PlainQuadFile plain = exampleQuadFile(1, 0);
    plain.extentU = 500;
    plain.extentV = 300;
    std::string const bytes = encodeQuadFile(plain);
    RectMesh grid;
    loadBytes(grid, bytes);
    EXPECT_EQ(grid.getExtents(), Extents(500, 300));
    EXPECT_TRUE(sameNodes(grid, gridOfQuadFile(decodeQuadFile(bytes))));
    EXPECT_FALSE(grid.getIsPointValid({500, 300}));
}

TEST_F(QuadFile, BytesBehindTheLastPointAreIgnored) {
    PlainQuadFile const plain = exampleQuadFile(1, 0);
    RectMesh grid;
    loadBytes(grid, encodeQuadFile(plain) + "more");
    EXPECT_TRUE(sameNodes(grid, gridOfQuadFile(plain)));
}

TEST_F(QuadFile, AbsurdExtentsGiveTheMemoryMessageAndAnEmptyGrid) {
    std::vector<std::array<std::uint32_t, 2>> const absurd{
        {0xFFFFFFFFU, 0xFFFFFFFFU}, {0xFFFFFFFFU, 0},     {0, 0xFFFFFFFFU},
        {0xFFFFFFFEU, 0xFFFFFFFEU}, {1000000U, 1000000U}, {100000U, 100000U}};
    for (std::uint32_t const version : {0U, 1U}) {
        for (auto const& [extentU, extentV] : absurd) {
            SCOPED_TRACE(testing::Message() << version << ": " << extentU << " x " << extentV);
            PlainQuadFile plain = exampleQuadFile(version, 0);
            plain.extentU = extentU;
            plain.extentV = extentV;
            RectMesh grid = flatGrid(3, 3);
            EXPECT_EQ(messageOf([&] { loadBytes(grid, encodeQuadFile(plain)); }), memoryText);
            EXPECT_EQ(grid.getExtents(), Extents(0, 0));
            EXPECT_FALSE(grid.getIsPointValid({0, 0}));
            EXPECT_EQ(grid.getMeanQuadArea(), 0.0);
            HeaderItems const items = headerItems(file("bytes.quads"));
            EXPECT_EQ(items.extentU, extentU);
            EXPECT_EQ(items.extentV, extentV);
        }
    }
}

TEST(QuadFileBlocks, NoFileMakesAValidNodeReadOutsideTheGrid) {
    // Random bytes behind a good start: whatever loads can be asked for everything.
    std::mt19937 random(49);
    auto const below = [&](std::uint32_t count) { return static_cast<std::uint32_t>(random()) % count; };
    for (int round = 0; round < 200; ++round) {
        PlainQuadFile plain = exampleQuadFile(below(2), below(3));
        plain.extentU = below(9);
        plain.extentV = below(9);
        std::string bytes = encodeQuadFile(plain);
        for (std::size_t i = 148; i < bytes.size(); ++i) {
            bytes[i] =
                plain.version == 1 && i >= 172 && i < 176 ? bytes[i] : static_cast<char>(random() & 127U);
        }
        RectMesh grid;
        QuadFileHeader header;
        loadFromMemory(grid, bytes, header);
        EXPECT_TRUE(sameNodes(grid, gridOfQuadFile(decodeQuadFile(bytes)))) << round;
        grid.getBoundingBoxAA();
        grid.getIntersection({1.0, 1.0, 1.0}, {0.0, 0.0, -1.0});
    }
}

// ---- Locale

class GroupedComma : public std::numpunct<char> {
protected:
    char do_decimal_point() const override { return ','; }

    char do_thousands_sep() const override { return '.'; }

    std::string do_grouping() const override { return "\3"; }
};

TEST_F(QuadFile, TheGlobalLocaleChangesNoFile) {
    RectMesh grid = wavyGrid(40, 40, 0.3);
    std::string const quads = savedBytes(grid);
    grid.saveAsOBJ(file("a.obj").c_str());
    grid.saveQuadAreaDistribution(file("a.txt"));
    std::locale const former = std::locale::global(std::locale(std::locale::classic(), new GroupedComma));
    grid.saveAsOBJ(file("b.obj").c_str());
    grid.saveQuadAreaDistribution(file("b.txt"));
    std::string const quadsInLocale = savedBytes(grid);
    RectMesh loaded;
    loaded.load(file("saved.quads").c_str());
    std::locale::global(former);
    EXPECT_EQ(quadsInLocale, quads);
    EXPECT_EQ(readText(file("b.obj")), readText(file("a.obj")));
    EXPECT_EQ(readText(file("b.txt")), readText(file("a.txt")));
    EXPECT_NE(readText(file("a.txt")), "");
    EXPECT_TRUE(sameNodes(loaded, plainGridOf(grid)));
}

} // namespace
} // namespace QELT::Testing
