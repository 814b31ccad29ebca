#include "Geometry/quadmesh/rectmesh.h"

#include <charconv>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

constexpr char const* comment = "#\n# Proprietary data of Marvisan QELT - do not distribute\n#\n\n";

/// The digits that a stream writes by default.
constexpr int significantDigits = 6;

/// Room for a float of six digits and an exponent, or a 32-bit number, with a minus sign.
constexpr std::size_t numberRoom = 32;

void appendNumber(std::string& line, float value) {
    std::array<char, numberRoom> text{};
    auto const result = std::to_chars(text.data(), text.data() + text.size(), static_cast<double>(value),
                                      std::chars_format::general, significantDigits);
    line.append(text.data(), result.ptr);
}

void appendNumber(std::string& line, std::uint32_t value) {
    std::array<char, numberRoom> text{};
    auto const result = std::to_chars(text.data(), text.data() + text.size(), value);
    line.append(text.data(), result.ptr);
}

void appendVertexLine(std::string& lines, ThreeDimensional::Point const& point) {
    lines += "v ";
    appendNumber(lines, point.getX());
    lines += ' ';
    appendNumber(lines, point.getY());
    lines += ' ';
    appendNumber(lines, point.getZ());
    lines += '\n';
}

/// `lowCorner` is the vertex number of the quad's low corner, `nodesU` the number of nodes in a row.
void appendFaceLine(std::string& lines, std::uint32_t lowCorner, std::uint32_t nodesU) {
    std::uint32_t const aboveLowCorner = lowCorner + nodesU;
    lines += 'f';
    for (std::uint32_t const vertex : {lowCorner, lowCorner + 1U, aboveLowCorner + 1U, aboveLowCorner}) {
        lines += ' ';
        appendNumber(lines, vertex);
    }
    lines += '\n';
}

/// Keeps the text in hand small.
void writeIfLong(std::ofstream& stream, std::string& lines) {
    constexpr std::size_t longSize = 1U << 16;
    if (lines.size() > longSize) {
        stream << lines;
        lines.clear();
    }
}

} // namespace

void RectMesh::saveAsOBJ(char const* path) const {
    std::ofstream stream = openForWriting(path, std::ios_base::out, "Quad-mesh file open failure.");
    std::uint32_t const nodesU = extents.u + 1U;
    std::string lines = comment;
    lines += "g Vertices\n";
    if (getHasRows()) {
        forEachNode([&](TwoDimensional::Point<int> const& node) {
            appendVertexLine(lines, getPoint(node));
            writeIfLong(stream, lines);
        });
    }
    lines += "\ng Faces\n";
    forEachNode([&](TwoDimensional::Point<int> const& node) {
        if (getIsQuadValid(node)) {
            auto const u = static_cast<std::uint32_t>(node.getU());
            auto const v = static_cast<std::uint32_t>(node.getV());
            appendFaceLine(lines, nodesU * v + u + 1U, nodesU);
            writeIfLong(stream, lines);
        }
    });
    stream << lines;
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
