#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <string>
#include <vector>

/// The same cube of edge 1 in all formats, and the bytes that binary files are made of.
namespace QELT::Inspection::Testing {

template <class Number>
std::string bytesOf(Number number, std::endian order = std::endian::little) {
    auto const raw = std::bit_cast<std::array<char, sizeof(Number)>>(number);
    std::string bytes(raw.begin(), raw.end());
    return order == std::endian::native ? bytes : std::string(bytes.rbegin(), bytes.rend());
}

struct Sample {
    std::string name;
    std::string content;
};

constexpr std::array<std::array<int, 3>, 8> cubePoints{
    {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}}};

/// Wound so that normals point outward.
constexpr std::array<std::array<int, 4>, 6> cubeQuads{
    {{0, 3, 2, 1}, {4, 5, 6, 7}, {0, 1, 5, 4}, {1, 2, 6, 5}, {2, 3, 7, 6}, {3, 0, 4, 7}}};

inline std::vector<std::array<int, 3>> cubeTriangles() {
    std::vector<std::array<int, 3>> triangles;
    for (auto const& q : cubeQuads) {
        triangles.push_back({q[0], q[1], q[2]});
        triangles.push_back({q[0], q[2], q[3]});
    }
    return triangles;
}

inline std::string rowOf(std::array<int, 3> const& numbers) {
    return std::to_string(numbers[0]) + " " + std::to_string(numbers[1]) + " " + std::to_string(numbers[2]);
}

inline std::string cubeRows() {
    std::string rows;
    for (auto const& point : cubePoints) {
        rows += rowOf(point) + "\n";
    }
    return rows;
}

inline std::string quadRows() {
    std::string rows;
    for (auto const& q : cubeQuads) {
        rows += "4 " + rowOf({q[0], q[1], q[2]}) + " " + std::to_string(q[3]) + "\n";
    }
    return rows;
}

inline std::string stlText() {
    std::string text = "solid cube of 1\n";
    for (auto const& triangle : cubeTriangles()) {
        text += "  facet normal 0 0 1e-3\n    outer loop\n";
        for (int const corner : triangle) {
            text += "      vertex " + rowOf(cubePoints[static_cast<std::size_t>(corner)]) + "\n";
        }
        text += "    endloop\n  endfacet\n";
    }
    return text + "endsolid cube of 1\n";
}

inline std::string stlBinary() {
    std::string bytes = "solid is how this header begins";
    bytes.resize(80, ' ');
    bytes += bytesOf<std::uint32_t>(12);
    for (auto const& triangle : cubeTriangles()) {
        bytes += bytesOf(0.0F) + bytesOf(0.0F) + bytesOf(1.0F);
        for (int const corner : triangle) {
            for (int const coordinate : cubePoints[static_cast<std::size_t>(corner)]) {
                bytes += bytesOf(static_cast<float>(coordinate));
            }
        }
        bytes += bytesOf<std::uint16_t>(0x1234);
    }
    return bytes;
}

inline std::string plyText() {
    return "ply\nformat ascii 1.0\ncomment made by hand\nelement vertex 8\nproperty float x\nproperty float "
           "y\n"
           "property float z\nelement face 6\nproperty list uchar int vertex_indices\nend_header\n" +
           cubeRows() + quadRows();
}

inline std::string plyBinary(std::endian order) {
    std::string bytes = std::string("ply\nformat ") +
                        (order == std::endian::little ? "binary_little_endian" : "binary_big_endian") +
                        " 1.0\nelement vertex 8\nproperty double x\nproperty float y\nproperty uchar red\n"
                        "property short z\nelement face 6\nproperty list ushort uint vertex_index\n"
                        "property list uchar float texcoord\nend_header\n";
    for (auto const& point : cubePoints) {
        bytes += bytesOf(static_cast<double>(point[0]), order) +
                 bytesOf(static_cast<float>(point[1]), order) + bytesOf<std::uint8_t>(200, order) +
                 bytesOf(static_cast<std::int16_t>(point[2]), order);
    }
    for (auto const& quad : cubeQuads) {
        bytes += bytesOf<std::uint16_t>(4, order);
        for (int const corner : quad) {
            bytes += bytesOf(static_cast<std::uint32_t>(corner), order);
        }
        bytes += bytesOf<std::uint8_t>(1, order) + bytesOf(0.5F, order);
    }
    return bytes;
}

inline std::string offText() {
    return "OFF # a cube\n8 6 0\n\n" + cubeRows() + "# the faces\n" + quadRows();
}

inline std::string objText() {
    std::string text = "# any text: f 1 2 \\\nmtllib cube.mtl\no cube\nvt 0.5 0.5\nvn 0 0 1\n";
    for (auto const& point : cubePoints) {
        text += "v " + rowOf(point) + "\n";
    }
    text += "g sides\nusemtl steel\ns off\n";
    for (auto const& q : cubeQuads) {
        text += "f " + std::to_string(q[0] + 1) + " " + std::to_string(q[1] + 1) + "/1 " +
                std::to_string(q[2] - 8) + "//1 " + std::to_string(q[3] + 1) + "/1/-1\n";
    }
    return text;
}

inline std::vector<Sample> cubeSamples() {
    return {{"cube.stl", stlText()},
            {"cube_binary.stl", stlBinary()},
            {"cube.ply", plyText()},
            {"cube_little.ply", plyBinary(std::endian::little)},
            {"cube_big.ply", plyBinary(std::endian::big)},
            {"cube.off", offText()},
            {"cube.obj", objText()}};
}

} // namespace QELT::Inspection::Testing
