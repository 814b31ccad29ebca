#pragma once

#include "Inspection/export.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Parts as other programs write them: STL, PLY, OFF and OBJ files, tables of points, 3MF packages, and glTF
/// scenes where the library is built with Assimp.
namespace QELT::Inspection {

/// What kind of file a part comes in.
enum class PartFormat : std::uint8_t {
    StlText,
    StlBinary,
    PlyText,
    PlyLittleEndian,
    PlyBigEndian,
    Off,
    Obj,
    Table, ///< of points, as text
    Gltf,  ///< text or binary
    ThreeMf
};

/// "STL, binary"
QELT_INSPECTION_EXPORT std::string nameOf(PartFormat format);

/// What a file says, before anything is made of it: points as they stand there, in double precision, and
/// polygons as lists of their numbers from 0. A part without polygons is a cloud. An STL file gives each
/// corner a point of its own.
struct PartAsRead {
    PartFormat format = PartFormat::Obj;
    std::vector<std::array<double, 3>> points;
    std::vector<std::uint32_t> corners;   ///< of all polygons, one after the other
    std::vector<std::size_t> polygonEnds; ///< where in `corners` each polygon ends
    /// One for each point of a table or a PLY file that names them, else none. Of any length.
    std::vector<std::array<double, 3>> normals;
    /// Whether it is an OBJ file of which the core's loader makes the same points and triangles.
    bool isPlainObj = false;
    std::string unit; ///< of lengths, where the format or the file names one: "metre", "inch"

    bool isMesh() const { return !polygonEnds.empty(); }

    /// At least three numbers below the count of points; the same may come twice.
    std::span<std::uint32_t const> polygon(std::size_t index) const {
        std::size_t const begin = index == 0 ? 0 : polygonEnds[index - 1];
        return std::span(corners).subspan(begin, polygonEnds[index] - begin);
    }
};

/// The format that the content shows, the extension where that shows none. A `Failure` says what else a file
/// is, as far as that is known, and what to do.
QELT_INSPECTION_EXPORT PartFormat formatOf(std::string const& name, std::string_view content);
QELT_INSPECTION_EXPORT PartFormat formatOfFile(std::filesystem::path const& path);

/// Reads a part that lies in memory; `name` stands for it in failures.
///
/// What does not hold to the format is a `Failure` that names the line or the byte: a file that ends too
/// early or goes on after its end, a number that is none or not finite, a corner without a point. No more
/// memory is taken than the size of the file warrants. A table, an OBJ file, or one of several text solids,
/// that was cut off right behind a line's end cannot be told from a whole one.
QELT_INSPECTION_EXPORT PartAsRead readPart(std::string const& name, std::string_view content);
QELT_INSPECTION_EXPORT PartAsRead readPartFile(std::filesystem::path const& path);

} // namespace QELT::Inspection
