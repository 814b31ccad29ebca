#include "Inspection/import/internal/stlreader.h"

#include "Inspection/import/internal/bytes.h"

#include <cmath>

namespace QELT::Inspection {

namespace {

constexpr std::size_t countPlace = 80;
constexpr std::size_t headerSize = 84;
constexpr std::size_t triangleSize = 50; ///< normal, three corners, two bytes of attributes
constexpr std::size_t normalSize = 12;

std::string lowered(std::string_view word) {
    std::string text(word);
    for (char& character : text) {
        character =
            character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
    }
    return text;
}

std::size_t countOf(std::string_view bytes) {
    return unsignedAt<std::uint32_t>(bytes, countPlace, std::endian::little);
}

/// The statements of a text file, one a line.
class StatementReader {
public:
    explicit StatementReader(PartSource const& source) : lines(source) {}

    PartAsRead read() {
        readSolid(next("solid"));
        while (auto const line = lines.nextStatement()) {
            readSolid(*line);
        }
        return std::move(part);
    }

private:
    /// Lines of which the last need not be ended: the last statement is a word, not a number.
    struct StatementLines : SourceLines {
        using SourceLines::SourceLines;

        std::optional<TextLine> nextStatement() {
            while (auto const line = next()) {
                if (!wordsOf(line->text).empty()) {
                    return TextLine{line->source, line->number, line->text};
                }
            }
            return std::nullopt;
        }
    };

    TextLine next(std::string const& what) {
        if (auto const line = lines.nextStatement()) {
            return *line;
        }
        return lines.requireData(noComment, "'" + what + "'");
    }

    /// The words of a statement that has to begin with these; `count` in all.
    static std::vector<std::string_view> require(TextLine const& line, std::vector<std::string> const& start,
                                                 std::size_t count) {
        auto words = wordsOf(line.text);
        bool isRight = words.size() == count;
        for (std::size_t i = 0; isRight && i < start.size(); ++i) {
            isRight = lowered(words[i]) == start[i];
        }
        if (!isRight) {
            std::string expected = start[0];
            for (std::size_t i = 1; i < start.size(); ++i) {
                expected += " " + start[i];
            }
            std::size_t const numbers = count - start.size();
            line.fail("'" + expected + "'" +
                      (numbers > 0 ? " and " + std::to_string(numbers) + " numbers" : "") + " expected, " +
                      quoteOf(line.text) + " found");
        }
        return words;
    }

    void readSolid(TextLine const& line) {
        if (lowered(wordsOf(line.text)[0]) != "solid") {
            line.fail("'solid' expected, " + quoteOf(line.text) + " found");
        }
        for (;;) {
            TextLine const statement = next("endsolid");
            if (lowered(wordsOf(statement.text)[0]) == "endsolid") {
                return;
            }
            readFacet(statement);
        }
    }

    void readFacet(TextLine const& facet) {
        auto const normal = require(facet, {"facet", "normal"}, 5);
        for (std::size_t i = 2; i < normal.size(); ++i) {
            requireNumber(facet, normal[i]);
        }
        require(next("outer loop"), {"outer", "loop"}, 2);
        for (int i = 0; i < 3; ++i) {
            TextLine const line = next("vertex");
            auto const words = require(line, {"vertex"}, 4);
            part.corners.push_back(static_cast<std::uint32_t>(part.points.size()));
            part.points.push_back(pointIn(line, words, 1));
        }
        require(next("endloop"), {"endloop"}, 1);
        require(next("endfacet"), {"endfacet"}, 1);
        endPolygon(part);
    }

    StatementLines lines;
    PartAsRead part;
};

} // namespace

bool hasSizeOfBinaryStl(std::string_view bytes) {
    return bytes.size() >= headerSize && bytes.size() == headerSize + triangleSize * countOf(bytes);
}

bool isBinaryStl(std::string_view bytes) {
    return hasSizeOfBinaryStl(bytes) || !lowered(bytes.substr(0, 5)).starts_with("solid") ||
           bytes.find('\0') != std::string_view::npos;
}

PartAsRead readStlText(PartSource const& source) {
    PartAsRead part = StatementReader(source).read();
    part.format = PartFormat::StlText;
    if (!part.isMesh()) {
        source.fail("holds no triangles");
    }
    return part;
}

namespace {

/// How many triangles the file holds, as its header and its size both say.
std::size_t checkedCountOf(PartSource const& source) {
    if (source.bytes.size() < headerSize) {
        source.failAtByte(source.bytes.size(), "the file ends within the header of 84 bytes");
    }
    std::size_t const count = countOf(source.bytes);
    std::size_t const expected = headerSize + triangleSize * count;
    if (source.bytes.size() != expected) {
        source.failAtByte(countPlace, counting(count, "triangle needs ", "triangles need ") +
                                          std::to_string(expected) + " bytes, the file has " +
                                          std::to_string(source.bytes.size()));
    }
    if (count == 0 || count > maxPartPoints / 3) {
        source.failAtByte(countPlace, count == 0 ? "holds no triangles" : "holds too many triangles");
    }
    return count;
}

std::array<double, 3> pointAt(PartSource const& source, std::size_t place) {
    std::array<double, 3> point{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        std::size_t const byte = place + axis * sizeof(float);
        point[axis] = floatAt(source.bytes, byte, std::endian::little);
        if (!std::isfinite(point[axis])) {
            source.failAtByte(byte, "a coordinate is not a finite number");
        }
    }
    return point;
}

} // namespace

PartAsRead readStlBinary(PartSource const& source) {
    std::size_t const count = checkedCountOf(source);
    PartAsRead part;
    part.format = PartFormat::StlBinary;
    part.points.reserve(3 * count);
    part.corners.reserve(3 * count);
    part.polygonEnds.reserve(count);
    for (std::size_t corner = 0; corner < 3 * count; ++corner) {
        std::size_t const triangle = headerSize + corner / 3 * triangleSize;
        part.points.push_back(pointAt(source, triangle + normalSize + corner % 3 * 3 * sizeof(float)));
        part.corners.push_back(static_cast<std::uint32_t>(corner));
        if (corner % 3 == 2) {
            endPolygon(part);
        }
    }
    return part;
}

} // namespace QELT::Inspection
