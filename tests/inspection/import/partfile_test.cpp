#include "Inspection/import/partfile.h"

#include "Inspection/records/failure.h"
#include "tests/inspection/import/partsamples.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <limits>
#include <random>

namespace QELT::Inspection {
namespace {

using namespace Testing;

std::string complaintOn(std::string const& name, std::string const& content) {
    return messageOf([&] { readPart(name, content); });
}

bool isSame(PartAsRead const& a, PartAsRead const& b) {
    return a.format == b.format && a.points == b.points && a.corners == b.corners &&
           a.polygonEnds == b.polygonEnds;
}

/// The text with the last occurrence of `from` replaced.
std::string changed(std::string text, std::string const& from, std::string const& to) {
    auto const place = text.rfind(from);
    EXPECT_NE(place, std::string::npos) << from;
    return text.replace(place, from.size(), to);
}

std::string withReturns(std::string const& text) {
    std::string result;
    for (char const character : text) {
        result += character == '\n' ? std::string("\r\n") : std::string(1, character);
    }
    return result;
}

std::string const plyHead = "ply\nformat ascii 1.0\n";
std::string const plyPoint = "element vertex 1\nproperty float x\nproperty float y\nproperty float z\n";

std::string triangleOff(std::string const& polygon) {
    return "OFF\n3 1 0\n0 0 0\n1 0 0\n0 1 0\n" + polygon + "\n";
}

std::string triangleObj(std::string const& polygon) {
    return "v 0 0 0\nv 1 0 0\nv 0 1 0\n" + polygon + "\n";
}

TEST(PartFile, readsTheCubeInAllFormats) {
    for (Sample const& sample : cubeSamples()) {
        SCOPED_TRACE(sample.name);
        PartAsRead const part = readPart(sample.name, sample.content);
        bool const isStl = sample.name.ends_with(".stl");
        ASSERT_EQ(part.polygonEnds.size(), isStl ? 12U : 6U);
        ASSERT_EQ(part.points.size(), isStl ? 36U : 8U);
        for (std::size_t i = 0; i < part.polygonEnds.size(); ++i) {
            auto const polygon = part.polygon(i);
            ASSERT_EQ(polygon.size(), isStl ? 3U : 4U);
            for (std::size_t c = 0; c < polygon.size(); ++c) {
                int const number = isStl ? cubeTriangles()[i][c] : cubeQuads[i][c];
                auto const& expected = cubePoints[static_cast<std::size_t>(number)];
                for (std::size_t axis = 0; axis < 3; ++axis) {
                    EXPECT_EQ(part.points[polygon[c]][axis], expected[axis]);
                }
            }
        }
    }
}

TEST(PartFile, knowsFormatsByContentBeforeTheName) {
    std::vector<std::string> const names{
        "STL, text", "STL, binary", "PLY, text", "PLY, binary, little-endian", "PLY, binary, big-endian",
        "OFF",       "OBJ"};
    EXPECT_EQ(nameOf(PartFormat::Table), "table");
    auto const samples = cubeSamples();
    for (std::size_t i = 0; i < samples.size(); ++i) {
        EXPECT_EQ(nameOf(formatOf(samples[i].name, samples[i].content)), names[i]);
        EXPECT_EQ(nameOf(formatOf("part.dat", samples[i].content)), names[i]);
    }
    EXPECT_EQ(formatOf("cube.obj", plyText()), PartFormat::PlyText);
}

TEST(PartFile, readsReturnsBeforeLineEndsAndAByteOrderMark) {
    for (Sample const& sample :
         {Sample{"a.stl", stlText()}, {"a.ply", plyText()}, {"a.off", offText()}, {"a.obj", objText()}}) {
        PartAsRead const part = readPart(sample.name, sample.content);
        EXPECT_TRUE(isSame(readPart(sample.name, withReturns(sample.content)), part)) << sample.name;
        EXPECT_TRUE(isSame(readPart(sample.name, "\xEF\xBB\xBF" + sample.content), part)) << sample.name;
        EXPECT_TRUE(isSame(readPart(sample.name, sample.content + " \n\t\n"), part)) << sample.name;
    }
}

TEST(PartFile, readsPointsAloneAsACloud) {
    auto const ply =
        readPart("a.ply", plyHead + plyPoint + "property uchar red\nend_header\n0.1 -2e3 +3 255\n");
    EXPECT_FALSE(ply.isMesh());
    ASSERT_EQ(ply.points.size(), 1U);
    EXPECT_EQ(ply.points[0], (std::array<double, 3>{0.1, -2000.0, 3.0}));
    EXPECT_FALSE(readPart("a.off", "OFF 1 0 0\n1 2 3\n").isMesh());
    EXPECT_EQ(readPart("a.off", "NOFF\n1 0 0\n1 2 3 0 0 1\n").points.size(), 1U);
    EXPECT_EQ(readPart("a.obj", "# points\nv 1 2 3\nvn 0 0 1\n").points.size(), 1U);
    auto const oriented = readPart("a.ply", plyHead + plyPoint +
                                                "property double ny\nproperty float nx\nproperty float nz\n"
                                                "end_header\n1 2 3 0.5 -1 0\n");
    EXPECT_EQ(oriented.normals, (std::vector<std::array<double, 3>>{{-1.0, 0.5, 0.0}}));
    EXPECT_EQ(readPart("a.off", "COFF\n1 0 0\n1 2 3 9 9 9 255\n").points.size(), 1U);
}

TEST(PartFile, readsNegativeNumbersOfCornersFromWhereTheyStand) {
    auto const part =
        readPart("a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf -3 -2 -1\nv 5 5 5\nf -1 -2 1\nf 1 2 5\nv 9 9 9\n");
    EXPECT_EQ(part.corners, (std::vector<std::uint32_t>{0, 1, 2, 3, 2, 0, 0, 1, 4}));
}

TEST(PartFile, joinsLinesOfAnObjFileThatGoOn) {
    auto const part = readPart("a.obj", triangleObj("f 1 \\\n 2\\\n3 # end \\"));
    EXPECT_EQ(part.corners, (std::vector<std::uint32_t>{0, 1, 2}));
}

TEST(PartFile, neverGivesHalfAPart) {
    for (Sample const& sample : cubeSamples()) {
        PartAsRead const whole = readPart(sample.name, sample.content);
        for (std::size_t length = 0; length < sample.content.size(); ++length) {
            std::string const cut = sample.content.substr(0, length);
            try {
                PartAsRead const part = readPart(sample.name, cut);
                // Lines of an OBJ file are not counted anywhere: cut off behind one it is a whole file.
                bool const isWholeObj = sample.name == "cube.obj" && cut.ends_with('\n');
                EXPECT_TRUE(isSame(part, whole) || isWholeObj) << sample.name << " cut to " << length;
            } catch (Failure const& failure) {
                EXPECT_TRUE(std::string(failure.what()).starts_with(sample.name)) << failure.what();
            }
        }
    }
}

TEST(PartFile, givesAFailureOrAPartWhateverChanges) {
    std::mt19937 random(20);
    std::size_t failures = 0;
    std::size_t parts = 0;
    for (Sample const& sample : cubeSamples()) {
        for (int round = 0; round < 400; ++round) {
            std::string content = sample.content;
            for (auto changes = random() % 4 + 1; changes > 0; --changes) {
                std::size_t const place = random() % content.size();
                std::size_t const kind = random() % 4;
                if (kind == 0) {
                    content[place] = static_cast<char>(random() % 256);
                } else if (kind == 1) {
                    content.insert(place, 1, "0 9-\n/e"[random() % 7]);
                } else if (kind == 2) {
                    content.erase(place, random() % 8 + 1);
                } else {
                    content.insert(place, content.substr(random() % content.size(), random() % 30));
                }
            }
            try {
                PartAsRead const part = readPart(sample.name, content);
                for (std::uint32_t const corner : part.corners) {
                    ASSERT_LT(corner, part.points.size());
                }
                for (std::size_t i = 0; i < part.polygonEnds.size(); ++i) {
                    ASSERT_GE(part.polygon(i).size(), 3U);
                }
                for (auto const& point : part.points) {
                    ASSERT_TRUE(std::isfinite(point[0]) && std::isfinite(point[1]) &&
                                std::isfinite(point[2]));
                }
                ++parts;
            } catch (Failure const&) {
                ++failures;
            }
        }
    }
    EXPECT_GT(failures, 1000U);
    EXPECT_GT(parts, 100U);
}

TEST(PartFile, namesWhatElseAFileIs) {
    std::string const advice = "; export the part as STL, with a chord deviation under a tenth of a pixel";
    EXPECT_EQ(complaintOn("a.stp", "ISO-10303-21;\nHEADER;\n"), "a.stp: is a STEP file" + advice);
    EXPECT_EQ(complaintOn("a.step", "x\n"), "a.step: is a STEP file by its name" + advice);
    EXPECT_EQ(complaintOn("a.igs", std::string(72, ' ') + "S      1\n"), "a.igs: is an IGES file" + advice);
    EXPECT_EQ(complaintOn("a.iges", "x\n"), "a.iges: is an IGES file by its name" + advice);
    EXPECT_EQ(complaintOn("a.stl", "\x89PNG\r\n"), "a.stl: is a PNG picture");
    EXPECT_EQ(complaintOn("a.3mf", "PK\x03\x04zip"), "a.3mf, byte 7: the archive is damaged or was cut off");
    EXPECT_EQ(complaintOn("a.stl", "PK\x03\x04zip"), "a.stl: is a ZIP archive; unpack it first");
    EXPECT_EQ(complaintOn("a.stl", "\n<!DOCTYPE HTML>\n"),
              "a.stl: is an HTML page, perhaps the answer to a failed download");
    EXPECT_EQ(complaintOn("a.obj", ""), "a.obj: is empty");
    EXPECT_EQ(complaintOn("a.txt", "Dear reader,\n"),
              "a.txt: is no STL, PLY, OFF or OBJ file and no table of points");
    EXPECT_EQ(complaintOn("a.x_t", "**ABC\n"), "a.x_t: is a CAD model by its name" + advice);
    EXPECT_EQ(complaintOn("a.dxf", "  0\nSECTION\n"),
              "a.dxf: is a DXF file; export the part as STL, PLY, OFF or OBJ");
    EXPECT_EQ(complaintOn("a.vtk", "# vtk DataFile Version 3.0\n"),
              "a.vtk: is a VTK file; export the part as STL, PLY, OFF or OBJ");
    EXPECT_EQ(formatOf("a.stl", objText()), PartFormat::Obj);
    EXPECT_EQ(formatOf("a.stl", offText()), PartFormat::Off);
    EXPECT_EQ(complaintOn("a.stl", "QELTQuad..."),
              "a.stl: is a grid of quads, no part; scan it, or name the part that it was made of");
    EXPECT_EQ(complaintOn("a.laz", "LASF"), "a.laz: is a LAS file; export the points as XYZ, CSV or PLY");
    EXPECT_EQ(complaintOn("a.pcd", "# .PCD v0.7\n"),
              "a.pcd: is a PCD file; export the points as XYZ, CSV or PLY");
    EXPECT_EQ(complaintOn("a.pdf", "%PDF-1.7\n"), "a.pdf: is a PDF document");
    EXPECT_EQ(complaintOn("a.obj.gz", "\x1F\x8B\x08"), "a.obj.gz: is compressed (gzip); unpack it first");
}

TEST(PartFile, namesTheFaultOfAnStlFile) {
    EXPECT_EQ(complaintOn("a.stl", changed(stlText(), "vertex 0 1 1", "vertex 0 1")),
              "a.stl, line 83: 'vertex' and 3 numbers expected, '      vertex 0 1' found");
    EXPECT_EQ(complaintOn("a.stl", changed(stlText(), "vertex 0 1 1", "vertex 0 inf 1")),
              "a.stl, line 83: 'inf' is not a finite number");
    EXPECT_EQ(complaintOn("a.stl", changed(stlText(), "facet normal 0", "facet normal up")),
              "a.stl, line 79: 'up' is not a number");
    EXPECT_EQ(complaintOn("a.stl", stlText() + "x\n"), "a.stl, line 87: 'solid' expected, 'x' found");
    EXPECT_EQ(complaintOn("a.stl", "solid a\n"),
              "a.stl, line 1: the file ends where 'endsolid' should follow");
    EXPECT_EQ(complaintOn("a.stl", "solid a\nendsolid a\n"), "a.stl: holds no triangles");
    EXPECT_EQ(complaintOn("a.stl", stlBinary() + "x"),
              "a.stl, byte 80: 12 triangles need 684 bytes, the file has 685");
    EXPECT_EQ(complaintOn("a.stl", std::string(83, ' ')),
              "a.stl, byte 83: the file ends within the header of 84 bytes");
    EXPECT_EQ(complaintOn("a.stl", std::string(80, ' ') + bytesOf(~std::uint32_t{0}) + "rest"),
              "a.stl, byte 80: 4294967295 triangles need 214748364834 bytes, the file has 88");
    std::string bytes = stlBinary();
    bytes.replace(84 + 50 + 16, 4, bytesOf(std::numeric_limits<float>::quiet_NaN()));
    EXPECT_EQ(complaintOn("a.stl", bytes), "a.stl, byte 150: a coordinate is not a finite number");
}

TEST(PartFile, namesTheFaultOfAPlyHeader) {
    auto const on = [](std::string const& text) { return complaintOn("a.ply", text); };
    EXPECT_EQ(on("plx\n"), "a.ply, line 1: 'ply' expected, 'plx' found");
    EXPECT_EQ(on("ply\nformat ascii 2.0\n"),
              "a.ply, line 2: 'format KIND 1.0' expected, 'format ascii 2.0' found");
    EXPECT_EQ(on("ply\nformat text 1.0\n"), "a.ply, line 2: 'text' is no kind of a PLY file");
    EXPECT_EQ(on(plyHead + "elements\n"), "a.ply, line 3: 'elements' begins no line of a PLY header");
    EXPECT_EQ(on(plyHead + "property float x\n"), "a.ply, line 3: a property before the first element");
    EXPECT_EQ(on(plyHead + "element vertex -1\n"), "a.ply, line 3: '-1' is no count");
    EXPECT_EQ(on(plyHead + plyPoint + "element vertex 2\n"),
              "a.ply, line 7: the element 'vertex' was there before");
    EXPECT_EQ(on(plyHead + plyPoint + "property float x\n"),
              "a.ply, line 7: the property 'x' was there before");
    EXPECT_EQ(on(plyHead + plyPoint + "property real w\n"), "a.ply, line 7: 'real' is no type of numbers");
    EXPECT_EQ(on(plyHead + plyPoint + "property list float int w\n"),
              "a.ply, line 7: the count of a list cannot be of type 'float'");
    EXPECT_EQ(on(plyHead + plyPoint + "element face 1\nproperty list uchar float vertex_index\n"),
              "a.ply, line 8: the corners of faces have to be a list of whole numbers");
    EXPECT_EQ(on(plyHead + plyPoint + "element tristrips 1\n"),
              "a.ply, line 7: strips of triangles are not read; export the part with faces");
    EXPECT_EQ(on(plyHead + "element vertex 1\nproperty float x\nproperty float y\nend_header\n1 2\n"),
              "a.ply, line 6: the element 'vertex' has not the properties x, y and z");
    EXPECT_EQ(on(plyHead + plyPoint + "element face 1\nproperty uchar red\nend_header\n1 2 3\n7\n"),
              "a.ply, line 9: the element 'face' has not one list vertex_indices");
    EXPECT_EQ(on(plyHead + plyPoint + "element thing 1000000000\nend_header\n1 2 3\n"),
              "a.ply, line 8: the element 'thing' has no properties");
    EXPECT_EQ(on(plyHead + "end_header\n"), "a.ply, line 3: holds no points");
}

TEST(PartFile, namesTheFaultOfAPlyBody) {
    auto const on = [](std::string const& text) { return complaintOn("a.ply", text); };
    EXPECT_EQ(on(changed(plyText(), "4 3 0 4 7", "4 3 0 4 8")),
              "a.ply, line 24: there is no point 8, they are numbered from 0 to 7");
    EXPECT_EQ(on(changed(plyText(), "4 3 0 4 7", "4 3 0 4 -1")),
              "a.ply, line 24: there is no point -1, they are numbered from 0 to 7");
    EXPECT_EQ(on(changed(plyText(), "4 3 0 4 7", "5 3 0 4 7")),
              "a.ply, line 24: a list of 5 numbers, 4 found");
    EXPECT_EQ(on(changed(plyText(), "4 3 0 4 7", "3 3 0 4 7")),
              "a.ply, line 24: nothing more is expected in this row, '7' found");
    EXPECT_EQ(on(changed(plyText(), "4 3 0 4 7", "2 3 0")), "a.ply, line 24: a polygon of 2 corners");
    EXPECT_EQ(on(changed(plyText(), "4 3 0 4 7", "256 3 0")), "a.ply, line 24: '256' is outside of its type");
    EXPECT_EQ(on(changed(plyText(), "0 1 1\n", "0 nan 1\n")), "a.ply, line 18: 'nan' is not a finite number");
    EXPECT_EQ(on(changed(plyText(), "0 1 1\n", "0 1\n")),
              "a.ply, line 18: the row ends early, after 2 numbers");
    EXPECT_EQ(on(plyText() + "7\n"), "a.ply, line 25: nothing more is expected, '7' found");
    EXPECT_EQ(on(changed(plyText(), "element face 6", "element face 4000000000")),
              "a.ply, line 18: the file is too short for 4000000000 of the element 'face': 60 bytes follow");

    std::string const bytes = plyBinary(std::endian::big);
    std::size_t const body = bytes.find("end_header\n") + 11;
    std::size_t const faces = body + 8 * 15;
    EXPECT_EQ(on(bytes + "7"),
              "a.ply, byte " + std::to_string(bytes.size()) + ": nothing more is expected, 1 byte follows");
    std::string far = bytes;
    far.replace(faces + 2, 4, bytesOf<std::uint32_t>(8, std::endian::big));
    EXPECT_EQ(on(far), "a.ply, byte " + std::to_string(faces + 2) +
                           ": there is no point 8, they are numbered from 0 to 7");
    std::string infinite = bytes;
    infinite.replace(body, 8, bytesOf(std::numeric_limits<double>::infinity(), std::endian::big));
    EXPECT_EQ(on(infinite), "a.ply, byte " + std::to_string(body) + ": a coordinate is not a finite number");
    std::string large = bytes;
    large.replace(faces, 2, bytesOf<std::uint16_t>(65535, std::endian::big));
    EXPECT_EQ(on(large),
              "a.ply, byte " + std::to_string(faces) + ": the file is too short for a list of 65535 numbers");
    EXPECT_EQ(on(changed(bytes, "vertex 8", "vertex 4000000000")),
              "a.ply, byte " + std::to_string(body + 9) +
                  ": the file is too short for 4000000000 of the element 'vertex': 258 bytes follow");
}

TEST(PartFile, namesTheFaultOfAnOffFile) {
    auto const on = [](std::string const& text) { return complaintOn("a.off", text); };
    EXPECT_EQ(on("4OFF\n"),
              "a.off, line 1: '4OFF' is none of the kinds read: OFF, COFF, NOFF and CNOFF as text");
    EXPECT_EQ(on("OFF BINARY\n"), "a.off, line 1: 3 counts expected, 1 found");
    EXPECT_EQ(on("OFF\n-3 1 0\n"), "a.off, line 2: '-3' is no count");
    EXPECT_EQ(on("OFF\n999999999 1 0\n1 2 3\n"),
              "a.off, line 2: the file is too short for a count of 999999999: 6 bytes follow");
    EXPECT_EQ(on(triangleOff("3 0 1 3")),
              "a.off, line 6: there is no point 3, they are numbered from 0 to 2");
    EXPECT_EQ(on(triangleOff("3 0 1")), "a.off, line 6: 3 corners expected, 2 found");
    EXPECT_EQ(on(triangleOff("2 0 1    ")), "a.off, line 6: a polygon of 2 corners");
    EXPECT_EQ(on(triangleOff("3 0 1 2 7 7")), "a.off, line 6: 2 numbers behind the corners are no colour");
    EXPECT_EQ(on(triangleOff("3 0 1 2\n3 0 1 2")),
              "a.off, line 7: nothing more is expected, '3 0 1 2' found");
    EXPECT_EQ(on("OFF\n1 0 0\n1.25 2.5\n"), "a.off, line 3: 3 numbers expected for a point, 2 found");
    EXPECT_EQ(on("OFF\n1 0 0\n1.25 2.5 3"),
              "a.off, line 3: the file ends within this line; if it is whole, end the line");
    EXPECT_EQ(on("OFF\n2 0 0\n1.25 2.5 3.75\n"), "a.off, line 3: the file ends where point 1 should follow");
}

TEST(PartFile, namesTheFaultOfAnObjFile) {
    auto const on = [](std::string const& text) { return complaintOn("a.obj", text); };
    EXPECT_EQ(on(triangleObj("f 1 2 4")),
              "a.obj, line 4: there is no point 4: the file holds 3, 3 of them above this line");
    EXPECT_EQ(on(triangleObj("f 1 2 -4")),
              "a.obj, line 4: there is no point -4: the file holds 3, 3 of them above this line");
    EXPECT_EQ(on(triangleObj("f 1 2 0")),
              "a.obj, line 4: there is no point 0: the file holds 3, 3 of them above this line");
    EXPECT_EQ(on(triangleObj("f 1 2 3/1")),
              "a.obj, line 4: there is no texture coordinate 1: the file holds 0, 0 of "
              "them above this line");
    for (std::string const corner : {"3/", "/3", "3//", "3/1/1/1"}) {
        EXPECT_EQ(on("vt 0 0\nvn 0 0 1\n" + triangleObj("f 1 2 " + corner)),
                  "a.obj, line 6: '" + corner + "' is no corner");
    }
    EXPECT_EQ(on(triangleObj("f 1 2 3.0")), "a.obj, line 4: '3.0' is not a whole number");
    EXPECT_EQ(on(triangleObj("f 1 2")), "a.obj, line 4: a polygon of 2 corners");
    EXPECT_EQ(on("v 0 0\n"), "a.obj, line 1: 3 numbers expected for a point, 2 found");
    EXPECT_EQ(on("v 0 0 1e999\n"), "a.obj, line 1: '1e999' is not a finite number");
    EXPECT_EQ(on(triangleObj("f 1 2 3\nrest")), "a.obj, line 5: 'rest' begins no line of an OBJ file");
    EXPECT_EQ(on(triangleObj("surf 0 1 0 1")),
              "a.obj, line 4: 'surf' is of a free-form surface; export the part as triangles");
    EXPECT_EQ(
        on("mtllib a.mtl\nv 0 0 0\n"),
        "a.obj: holds no polygons (lines that begin with f), though it speaks of a surface; it may have "
        "been cut off");
    EXPECT_EQ(on("# nothing\n"), "a.obj: holds no points");
    EXPECT_EQ(on(triangleObj("f 1 2 3 \\")),
              "a.obj, line 4: the file ends where the rest of line 4 should follow");
}

TEST(PartFile, refusesAPolygonThatWouldTakeTooLong) {
    std::string text = triangleObj("f");
    text.pop_back();
    for (int i = 0; i < 20001; ++i) {
        text += " 1";
    }
    EXPECT_EQ(complaintOn("a.obj", text + "\n"),
              "a.obj, line 4: a polygon of 20001 corners; at most 20000 are taken");
}

TEST(PartFile, showsUnprintableWordsInAFailureAsMarks) {
    EXPECT_EQ(complaintOn("a.obj", "v 0 0 \x01\xFF\n"), "a.obj, line 1: '\?\?' is not a finite number");
    EXPECT_EQ(complaintOn("a.obj", std::string(50, 'x') + "\n"),
              "a.obj, line 1: '" + std::string(40, 'x') + "...' begins no line of an OBJ file");
}

TEST(PartFile, readsTheSameUnderADecimalComma) {
    std::string const before = std::setlocale(LC_ALL, nullptr);
    if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) {
        GTEST_SKIP() << "no locale with a decimal comma";
    }
    auto const part = readPart("a.obj", "v 0.5 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    std::setlocale(LC_ALL, before.c_str());
    EXPECT_EQ(part.points[0][0], 0.5);
}

TEST(PartFile, readsFilesAndNamesThoseItCannot) {
    ScratchDirectory const directory;
    writeText(directory / "cube.stl", stlBinary());
    EXPECT_TRUE(isSame(readPartFile(directory / "cube.stl"), readPart("cube.stl", stlBinary())));
    EXPECT_TRUE(messageOf([&] {
                    readPartFile(directory / "none.stl");
                }).starts_with((directory / "none.stl").string() + ": cannot be read"));
    EXPECT_EQ(messageOf([] { readPartFile("/dev/zero"); }), "/dev/zero: is not a plain file");
}

} // namespace
} // namespace QELT::Inspection
