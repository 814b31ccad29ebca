#include "Inspection/import/internal/scenereader.h"

#include "Inspection/import/internal/threemfmodel.h"
#include "Inspection/import/internal/zippackage.h"
#include "Inspection/import/part.h"
#include "tests/inspection/import/partsamples.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <string>
#include <vector>
#include <zlib.h>

namespace QELT::Inspection {
namespace {

using namespace Testing;

std::string base64(std::string const& bytes) {
    constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::uint32_t word = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            word = word << 8U | (i + k < bytes.size() ? static_cast<unsigned char>(bytes[i + k]) : 0U);
        }
        for (std::size_t k = 0; k < 4; ++k) {
            bool const isThere = i + k < bytes.size() + 1;
            text += isThere ? letters[word >> (18U - 6U * k) & 63U] : '=';
        }
    }
    return text;
}

/// The numbers of the cube: corners of 16 bits, then points.
std::string cubeBuffer() {
    std::string bytes;
    for (auto const& triangle : cubeTriangles()) {
        for (int const corner : triangle) {
            bytes += bytesOf(static_cast<std::uint16_t>(corner));
        }
    }
    for (auto const& point : cubePoints) {
        for (int const coordinate : point) {
            bytes += bytesOf(static_cast<float>(coordinate));
        }
    }
    return bytes;
}

/// The cube in a scene of these nodes; `buffer` tells where its numbers are.
std::string gltfText(std::string const& nodes, std::string const& roots, std::string const& buffer) {
    return R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[)" + roots + R"(]}],"nodes":[)" +
           nodes +
           R"(],"meshes":[{"primitives":[{"attributes":{"POSITION":1},"indices":0}]}],)"
           R"("accessors":[{"bufferView":0,"componentType":5123,"count":36,"type":"SCALAR"},)"
           R"({"bufferView":1,"componentType":5126,"count":8,"type":"VEC3","min":[0,0,0],"max":[1,1,1]}],)"
           R"("bufferViews":[{"buffer":0,"byteOffset":0,"byteLength":72},)"
           R"({"buffer":0,"byteOffset":72,"byteLength":96}],"buffers":[{)" +
           buffer + R"("byteLength":168}]})";
}

std::string embedded(std::string const& bytes) {
    return R"("uri":"data:application/octet-stream;base64,)" + base64(bytes) + "\",";
}

std::string gltfCube(std::string const& nodes = R"({"mesh":0})", std::string const& roots = "0") {
    return gltfText(nodes, roots, embedded(cubeBuffer()));
}

std::string glbCube() {
    std::string text = gltfText(R"({"mesh":0})", "0", "");
    text.resize((text.size() + 3) / 4 * 4, ' ');
    std::string const body = bytesOf(static_cast<std::uint32_t>(text.size())) + "JSON" + text +
                             bytesOf(static_cast<std::uint32_t>(cubeBuffer().size())) +
                             std::string("BIN\0", 4) + cubeBuffer();
    return "glTF" + bytesOf<std::uint32_t>(2) + bytesOf(static_cast<std::uint32_t>(12 + body.size())) + body;
}

struct ZipEntry {
    std::string name;
    std::string content;
};

std::uint32_t sumOf(std::string const& bytes) {
    return static_cast<std::uint32_t>(
        crc32(0, reinterpret_cast<Bytef const*>(bytes.data()), static_cast<uInt>(bytes.size())));
}

std::string deflated(std::string const& text) {
    std::string packed(text.size() + 100, '\0');
    z_stream stream{};
    deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
    std::string input = text;
    stream.next_in = reinterpret_cast<Bytef*>(input.data());
    stream.avail_in = static_cast<uInt>(input.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

std::string zipOf(std::vector<ZipEntry> const& entries, bool isPacked = false) {
    std::string bytes;
    std::string directory;
    for (ZipEntry const& entry : entries) {
        std::string const data = isPacked ? deflated(entry.content) : entry.content;
        std::string const fields =
            bytesOf<std::uint16_t>(20) + bytesOf<std::uint16_t>(0) +
            bytesOf<std::uint16_t>(isPacked ? 8 : 0) + bytesOf<std::uint32_t>(0x21) +
            bytesOf(sumOf(entry.content)) + bytesOf(static_cast<std::uint32_t>(data.size())) +
            bytesOf(static_cast<std::uint32_t>(entry.content.size())) +
            bytesOf(static_cast<std::uint16_t>(entry.name.size())) + bytesOf<std::uint16_t>(0);
        directory += "PK\x01\x02" + bytesOf<std::uint16_t>(20) + fields + std::string(10, '\0') +
                     bytesOf(static_cast<std::uint32_t>(bytes.size())) + entry.name;
        bytes += "PK\x03\x04" + fields + entry.name + data;
    }
    auto const count = static_cast<std::uint16_t>(entries.size());
    return bytes + directory + "PK\x05\x06" + std::string(4, '\0') + bytesOf(count) + bytesOf(count) +
           bytesOf(static_cast<std::uint32_t>(directory.size())) +
           bytesOf(static_cast<std::uint32_t>(bytes.size())) + std::string(2, '\0');
}

std::string modelText(std::string const& unit, std::string const& items = R"(<item objectid="1"/>)") {
    std::string text =
        R"(<?xml version="1.0" encoding="UTF-8"?><model )" + unit +
        R"(xml:lang="en-US" xmlns="http://schemas.microsoft.com/3dmanufacturing/core/2015/02">)"
        R"(<resources><object id="1" type="model"><mesh><vertices>)";
    for (auto const& p : cubePoints) {
        text += "<vertex x=\"" + std::to_string(p[0]) + "\" y=\"" + std::to_string(p[1]) + "\" z=\"" +
                std::to_string(p[2]) + "\"/>";
    }
    text += "</vertices><triangles>";
    for (auto const& t : cubeTriangles()) {
        text += "<triangle v1=\"" + std::to_string(t[0]) + "\" v2=\"" + std::to_string(t[1]) + "\" v3=\"" +
                std::to_string(t[2]) + "\"/>";
    }
    return text + "</triangles></mesh></object></resources><build>" + items + "</build></model>";
}

std::string threeMf(std::string const& model, bool isPacked = false) {
    return zipOf(
        {{"[Content_Types].xml",
          R"(<?xml version="1.0"?><Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">)"
          R"(<Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/>)"
          R"(<Default Extension="model" ContentType="application/vnd.ms-package.3dmanufacturing-3dmodel+xml"/></Types>)"},
         {"_rels/.rels",
          R"(<?xml version="1.0"?><Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">)"
          R"(<Relationship Target="/3D/3dmodel.model" Id="rel0" Type="http://schemas.microsoft.com/3dmanufacturing/2013/01/3dmodel"/></Relationships>)"},
         {"3D/3dmodel.model", model}},
        isPacked);
}

PartAsLoaded partOf(std::string const& name, std::string const& content) {
    return makePart(readPart(name, content), name);
}

/// Six times the volume inside.
double sixVolumes(PartAsLoaded const& part) {
    double sum = 0.0;
    for (auto const& t : part.triangles) {
        SpacePoint const& a = part.points[t[0]];
        SpacePoint const& b = part.points[t[1]];
        SpacePoint const& c = part.points[t[2]];
        sum += a[0] * (b[1] * c[2] - b[2] * c[1]) - a[1] * (b[0] * c[2] - b[2] * c[0]) +
               a[2] * (b[0] * c[1] - b[1] * c[0]);
    }
    return sum;
}

TEST(SceneReader, knowsScenesByTheirContent) {
    EXPECT_EQ(formatOf("a.dat", gltfCube()), PartFormat::Gltf);
    EXPECT_EQ(formatOf("a.dat", glbCube()), PartFormat::Gltf);
    EXPECT_EQ(formatOf("a.dat", threeMf(modelText(""))), PartFormat::ThreeMf);
    EXPECT_EQ(nameOf(PartFormat::Gltf), "glTF");
    EXPECT_EQ(nameOf(PartFormat::ThreeMf), "3MF");
    EXPECT_EQ(messageOf([] { readPart("a.json", "{\"a\": 1}"); }),
              "a.json: is a JSON file; export the part as STL, PLY, OFF or OBJ");
    EXPECT_EQ(messageOf([] {
                  readPart("a.zip", zipOf({{"part.stl", stlText()}}));
              }),
              "a.zip: is a ZIP archive; unpack it first");
}

TEST(ZipPackage, givesStoredAndDeflatedEntries) {
    std::string const name = "a.zip";
    std::string const text(5000, 'x');
    for (bool const isPacked : {false, true}) {
        std::string const archive = zipOf({{"a.txt", "other"}, {"b.model", text}}, isPacked);
        EXPECT_EQ(entryOf({name, archive}, ".model"), text);
        EXPECT_EQ(entryOf({name, archive}, ".stl"), std::nullopt);
        for (std::size_t length = 0; length < archive.size(); ++length) {
            std::string const cut = archive.substr(0, length);
            EXPECT_FALSE(messageOf([&] { entryOf({name, cut}, ".model"); }).empty()) << length;
        }
    }
    std::string damaged = zipOf({{"b.model", text}});
    damaged[damaged.find("xxx") + 7] = 'y';
    EXPECT_EQ(messageOf([&] {
                  entryOf({name, damaged}, ".model");
              }),
              "a.zip, byte 0: the archive is damaged or was cut off");
}

TEST(ZipPackage, givesAFailureOrTheEntryWhateverChanges) {
    std::string const name = "a.zip";
    std::mt19937 random(2);
    for (int round = 0; round < 4000; ++round) {
        std::string archive = zipOf({{"a.txt", "other"}, {"b.model", "text of a model"}}, round % 2 == 0);
        for (auto changes = random() % 4 + 1; changes > 0; --changes) {
            archive[random() % archive.size()] = static_cast<char>(random() % 256);
        }
        std::optional<std::string> entry;
        std::string const message = messageOf([&] { entry = entryOf({name, archive}, ".model"); });
        EXPECT_TRUE(message.empty() || message.starts_with("a.zip")) << message;
    }
}

TEST(ThreeMfModel, givesTrianglesAsOftenAsObjectsAreNamed) {
    std::string const name = "a.3mf";
    auto const read = [&](std::string const& xml) {
        return readThreeMfModel({name, {}}, xml + "</m:model>");
    };
    std::string const mesh = "<vertex x='1' y='2' z='3'/><vertex x='4' y = \"5\" z='6'/><vertex z='0' y='0' "
                             "x='0'/><triangle v1='0' v2='1' v3='2'/>";
    auto const part =
        read("<?xml version='1.0'?><!-- <triangle/> --><m:model unit = 'inch'><object id='1'>" + mesh +
             "</object><object\nid=\"2\"><components><component objectid='1' transform='1 0 0 0 "
             "1 0 0 0 1 10 0 0'/><component objectid='1'/></components></object>"
             "<object id='3'>" +
             mesh +
             "</object><build><item objectid='2' transform='0 1 0 1 0 0 0 0 1 0 0 7'/>"
             "<item objectid='1'/></build>");
    EXPECT_EQ(part.unit, "inch");
    EXPECT_EQ(part.polygonEnds.size(), 3U);
    EXPECT_EQ(part.points[0], (SpacePoint{2, 11, 10}));
    EXPECT_EQ(part.points[3], (SpacePoint{2, 1, 10}));
    EXPECT_EQ(part.points[6], (SpacePoint{1, 2, 3}));
    EXPECT_EQ(part.corners, (std::vector<std::uint32_t>{0, 2, 1, 3, 5, 4, 6, 7, 8}));
    auto const on = [&](std::string const& xml) { return messageOf([&] { read(xml); }); };
    EXPECT_EQ(on("<item objectid='4'/>"), "a.3mf: its model names an object '4' that is not there");
    EXPECT_EQ(on("<object id='1'><component objectid='1'/></object><item objectid='1'/>"),
              "a.3mf: its model names an object '1' that lies too deep, or in itself");
    EXPECT_EQ(on("<item objectid='4' p:path='/3D/a.model'/>"),
              "a.3mf: its model, byte 0: objects in several models are not read; export them as one");
    EXPECT_EQ(on("<object id='1'><vertex x='1' y='nan' z='3'/>"),
              "a.3mf: its model, byte 15: 'y' is not a finite number");
    EXPECT_EQ(on("<object id='1'><triangle v1='0'/>"),
              "a.3mf: its model, byte 15: a triangle names a point that is not there");
    EXPECT_EQ(on("<item transform='1 2'/>"), "a.3mf: its model, byte 0: a transform has 12 numbers, 2 found");
    EXPECT_EQ(on("<model>"), "a.3mf: holds no triangles");
    EXPECT_EQ(messageOf([&] {
                  readThreeMfModel({name, {}}, "<model><object>");
              }),
              "a.3mf: its model does not end; it was cut off");
    std::string doubling = "<object id='0'>" + mesh + "</object>";
    for (int i = 1; i < 90; ++i) {
        std::string const before = "<component objectid='" + std::to_string(i - 1) + "'/>";
        doubling += "<object id='" + std::to_string(i) + "'>" + before + before + "</object>";
    }
    EXPECT_EQ(on(doubling + "<item objectid='89'/>"), "a.3mf: holds too many triangles");
}

#ifdef QELT_WITH_ASSIMP

TEST(SceneReader, readsTheCubeAndTellsItsUnit) {
    for (Sample const& sample :
         {Sample{"a.gltf", gltfCube()}, Sample{"a.glb", glbCube()}, Sample{"a.3mf", threeMf(modelText(""))},
          Sample{"a.3mf", threeMf(modelText(""), true)}}) {
        PartAsLoaded const part = partOf(sample.name, sample.content);
        EXPECT_EQ(part.points.size(), 8U) << sample.name;
        EXPECT_EQ(part.triangles.size(), 12U) << sample.name;
        EXPECT_EQ(sixVolumes(part), 6.0) << sample.name;
        EXPECT_EQ(part.report.unit, sample.name == "a.3mf" ? "millimeter" : "metre");
    }
    EXPECT_EQ(readPart("a.3mf", threeMf(modelText("unit=\"inch\" "))).unit, "inch");
}

TEST(SceneReader, placesMeshesAsTheirNodesDo) {
    PartAsLoaded const part =
        partOf("a.gltf", gltfCube(R"({"mesh":0,"scale":[2,3,4],"translation":[10,0,0],"children":[1]},)"
                                  R"({"mesh":0,"translation":[5,0,0]},{"mesh":0,"scale":[-1,1,1]})",
                                  "0,2"));
    EXPECT_EQ(part.triangles.size(), 36U);
    EXPECT_NEAR(sixVolumes(part), 6.0 * (24.0 + 24.0 + 1.0), 1e-3);
    double reach = 0.0;
    for (SpacePoint const& point : part.points) {
        reach = std::max(reach, point[0]);
    }
    EXPECT_EQ(reach, 22.0);
}

TEST(SceneReader, placesItemsOfA3MfBuildAsTheySay) {
    PartAsLoaded const part = partOf(
        "a.3mf", threeMf(modelText("", R"(<item objectid="1" transform="2 0 0 0 2 0 0 0 2 5 0 0"/>)"
                                       R"(<item objectid="1" transform="1 0 0 0 1 0 0 0 1 0 0 0"/>)")));
    EXPECT_EQ(part.triangles.size(), 24U);
    EXPECT_NEAR(sixVolumes(part), 6.0 * 9.0, 1e-4);
}

TEST(SceneReader, refusesWhatDoesNotHold) {
    std::string buffer = cubeBuffer();
    buffer.replace(0, 2, bytesOf<std::uint16_t>(8));
    EXPECT_FALSE(
        messageOf([&] { readPart("a.gltf", gltfText(R"({"mesh":0})", "0", embedded(buffer))); }).empty());
    buffer = cubeBuffer();
    buffer.replace(72, 4, bytesOf(std::numeric_limits<float>::quiet_NaN()));
    EXPECT_EQ(messageOf([&] { readPart("a.gltf", gltfText(R"({"mesh":0})", "0", embedded(buffer))); }),
              "a.gltf: a coordinate is not a finite number");
    EXPECT_EQ(messageOf([&] { readPart("a.gltf", gltfText(R"({"mesh":0})", "0", R"("uri":"a.bin",)")); }),
              "a.gltf: keeps its numbers in another file ('a.bin'); export it as .glb, or as glTF with its "
              "buffers embedded");
    EXPECT_FALSE(messageOf([&] { readPart("a.gltf", gltfCube(R"({"mesh":7})")); }).empty());
    EXPECT_FALSE(messageOf([&] { readPart("a.3mf", threeMf("<model>")); }).empty());
}

TEST(SceneReader, neverGivesHalfAScene) {
    for (Sample const& sample : {Sample{"a.gltf", gltfCube()}, Sample{"a.glb", glbCube()},
                                 Sample{"a.3mf", threeMf(modelText(""), true)}}) {
        for (std::size_t length = 0; length < sample.content.size(); ++length) {
            EXPECT_FALSE(messageOf([&] { readPart(sample.name, sample.content.substr(0, length)); }).empty())
                << sample.name << " cut to " << length;
        }
    }
}

TEST(SceneReader, givesAFailureOrASceneWhateverChanges) {
    std::mt19937 random(4);
    int failures = 0;
    int scenes = 0;
    for (int round = 0; round < 900; ++round) {
        std::string text = round % 3 == 2   ? modelText("unit=\"foot\" ")
                           : round % 3 == 1 ? glbCube()
                                            : gltfCube();
        for (auto changes = random() % 3 + 1; changes > 0; --changes) {
            std::size_t const place = random() % text.size();
            if (random() % 3 == 0) {
                text.erase(place, random() % 6 + 1);
            } else {
                text[place] = "0 9-\":,[]{}x=/<>"[random() % 16];
            }
        }
        std::string const content = round % 3 == 2 ? threeMf(text) : text;
        try {
            PartAsRead const part = readPart("a", content);
            for (std::uint32_t const corner : part.corners) {
                ASSERT_LT(corner, part.points.size());
            }
            ++scenes;
        } catch (std::exception const& failure) {
            EXPECT_TRUE(std::string(failure.what()).starts_with("a")) << failure.what();
            ++failures;
        }
    }
    EXPECT_GT(failures, 100);
    EXPECT_GT(scenes, 50);
}

#else

TEST(SceneReader, saysThatThisBuildDoesNotReadScenes) {
    EXPECT_EQ(
        messageOf([] { readPart("a.gltf", gltfCube()); }),
        "a.gltf: is of a format that this build does not read, being without Assimp; export the part as "
        "STL, PLY, OFF or OBJ");
}

#endif

} // namespace
} // namespace QELT::Inspection
