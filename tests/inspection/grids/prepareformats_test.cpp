#include "Inspection/grids/prepare.h"
#include "tests/inspection/import/partsamples.h"
#include "tests/inspection/sampleparts.h"

#include <gtest/gtest.h>

#include <array>
#include <sstream>
#include <string>
#include <vector>

namespace QELT::Inspection {
namespace {

using namespace Testing;

/// The patch of the samples, in numbers.
struct Patch {
    std::vector<std::array<float, 3>> points;
    std::vector<std::array<int, 3>> faces;
};

Patch patch() {
    Patch result;
    std::istringstream text(patchMesh());
    for (std::string word; text >> word;) {
        if (word == "v") {
            auto& point = result.points.emplace_back();
            text >> point[0] >> point[1] >> point[2];
        } else {
            auto& face = result.faces.emplace_back();
            text >> face[0] >> face[1] >> face[2];
        }
    }
    return result;
}

std::string plyHeaderOf(std::string const& kind) {
    return "ply\nformat " + kind +
           " 1.0\nelement vertex 143\nproperty float x\nproperty float y\nproperty float z\n"
           "element face 240\nproperty list uchar int vertex_indices\nend_header\n";
}

std::string plyBinaryOf(Patch const& part, std::endian order) {
    std::string bytes = plyHeaderOf(order == std::endian::big ? "binary_big_endian" : "binary_little_endian");
    for (auto const& point : part.points) {
        for (float const coordinate : point) {
            bytes += bytesOf(coordinate, order);
        }
    }
    for (auto const& face : part.faces) {
        bytes += bytesOf<std::uint8_t>(3);
        for (std::int32_t const corner : face) {
            bytes += bytesOf(corner - 1, order);
        }
    }
    return bytes;
}

std::string rowsOfFaces(Patch const& part) {
    std::string rows;
    for (auto const& face : part.faces) {
        rows += "3 " + rowOf({face[0] - 1, face[1] - 1, face[2] - 1}) + "\n";
    }
    return rows;
}

std::string slashedObj(Patch const& part) {
    std::string text = "# a patch, v 1 2 3\nvt 0 0\n" + patchPoints("v ");
    for (auto const& face : part.faces) {
        text += "f";
        for (int const corner : face) {
            text += " " + std::to_string(corner) + "/1";
        }
        text += "\n";
    }
    return text;
}

std::string stlOf(Patch const& part) {
    std::string bytes(80, ' ');
    bytes += bytesOf(static_cast<std::uint32_t>(part.faces.size()));
    for (auto const& face : part.faces) {
        bytes += std::string(12, '\0');
        for (int const corner : face) {
            for (float const coordinate : part.points[static_cast<std::size_t>(corner - 1)]) {
                bytes += bytesOf(coordinate);
            }
        }
        bytes += std::string(2, '\0');
    }
    return bytes;
}

PrepareResult prepareAs(ScratchDirectory const& directory, Sample const& sample) {
    writeText(directory / sample.name, sample.content);
    PrepareOptions options;
    options.part = directory / sample.name;
    options.grid = directory / "out.quads";
    options.resolution.quadArea = 0.25;
    options.mode = FlatteningMode::Pinned;
    return prepare(options, nullptr);
}

TEST(PrepareFormats, giveTheSameGridOfTheSamePart) {
    ScratchDirectory const directory;
    Patch const part = patch();
    prepareAs(directory, {"patch.obj", patchMesh()});
    std::string const expected = readText(directory / "out.quads");
    std::vector<Sample> const samples{
        {"patch.ply", plyHeaderOf("ascii") + patchPoints("") + rowsOfFaces(part)},
        {"patch.ply", plyBinaryOf(part, std::endian::little)},
        {"patch.ply", plyBinaryOf(part, std::endian::big)},
        {"patch.off", "OFF\n143 240 0\n" + patchPoints("") + rowsOfFaces(part)},
        {"patch.obj", slashedObj(part)}};
    for (Sample const& sample : samples) {
        PrepareResult const result = prepareAs(directory, sample);
        EXPECT_FALSE(result.load.isAsInFile) << sample.name;
        EXPECT_EQ(result.load.trianglesOut, 240U) << sample.name;
        EXPECT_TRUE(readText(directory / "out.quads") == expected) << sample.name;
    }
}

TEST(PrepareFormats, weldAnStlFileToTheSameTopology) {
    ScratchDirectory const directory;
    MeshSummary const expected = prepareAs(directory, {"patch.obj", patchMesh()}).part;
    PrepareResult const result = prepareAs(directory, {"patch.stl", stlOf(patch())});
    EXPECT_EQ(result.load.pointsIn, 720U);
    EXPECT_EQ(result.load.weldedCount, 720U - 143U);
    EXPECT_EQ(result.part.vertexCount, expected.vertexCount);
    EXPECT_EQ(result.part.faceCount, expected.faceCount);
    ASSERT_EQ(result.part.loops.size(), 1U);
    EXPECT_EQ(result.part.loops[0].vertices.size(), expected.loops[0].vertices.size());
}

TEST(PrepareFormats, takeACloudOfEachFormat) {
    ScratchDirectory const directory;
    std::string const header = plyHeaderOf("ascii");
    std::string const cloudHeader = header.substr(0, header.find("element face")) + "end_header\n";
    for (Sample const& sample :
         {Sample{"a.xyz", patchPoints("")}, Sample{"b.csv", "x y z\n" + patchPoints("")},
          Sample{"c.ply", cloudHeader + patchPoints("")}, Sample{"d.obj", patchPoints("v ")},
          Sample{"e.off", "OFF\n143 0 0\n" + patchPoints("")}}) {
        PrepareResult const result = prepareAs(directory, sample);
        EXPECT_TRUE(result.repair.has_value()) << sample.name;
        EXPECT_EQ(result.part.vertexCount, 143U) << sample.name;
        EXPECT_FALSE(result.load.isMesh) << sample.name;
    }
}

} // namespace
} // namespace QELT::Inspection
