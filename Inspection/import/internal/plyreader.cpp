#include "Inspection/import/internal/plyreader.h"

#include "Inspection/import/internal/bytes.h"

#include <algorithm>
#include <cmath>

namespace QELT::Inspection {

namespace {

enum class Type : std::uint8_t { Int8, Uint8, Int16, Uint16, Int32, Uint32, Float32, Float64 };

struct TypeName {
    std::string_view name;
    Type type;
};

constexpr std::array<TypeName, 16> typeNames{{{"char", Type::Int8},
                                              {"int8", Type::Int8},
                                              {"uchar", Type::Uint8},
                                              {"uint8", Type::Uint8},
                                              {"short", Type::Int16},
                                              {"int16", Type::Int16},
                                              {"ushort", Type::Uint16},
                                              {"uint16", Type::Uint16},
                                              {"int", Type::Int32},
                                              {"int32", Type::Int32},
                                              {"uint", Type::Uint32},
                                              {"uint32", Type::Uint32},
                                              {"float", Type::Float32},
                                              {"float32", Type::Float32},
                                              {"double", Type::Float64},
                                              {"float64", Type::Float64}}};

std::size_t sizeOf(Type type) {
    constexpr std::array<std::size_t, 8> sizes{1, 1, 2, 2, 4, 4, 4, 8};
    return sizes[static_cast<std::size_t>(type)];
}

bool isWhole(Type type) {
    return type != Type::Float32 && type != Type::Float64;
}

Type typeIn(TextLine const& line, std::string_view word) {
    auto const found = std::find_if(typeNames.begin(), typeNames.end(),
                                    [&](TypeName const& known) { return known.name == word; });
    if (found == typeNames.end()) {
        line.fail(quoteOf(word) + " is no type of numbers");
    }
    return found->type;
}

/// What a property is to the part.
enum class Role : std::uint8_t { X, Y, Z, NormalX, NormalY, NormalZ, Corners, Other };

constexpr std::array<std::string_view, 6> numberNames{"x", "y", "z", "nx", "ny", "nz"};

struct Property {
    std::string name;
    Type type = Type::Float32;
    bool isList = false;
    Type countType = Type::Uint8;
    Role role = Role::Other;
};

struct Element {
    std::string name;
    std::size_t count = 0;
    std::vector<Property> properties;
};

struct Header {
    PartFormat format = PartFormat::PlyText;
    std::vector<Element> elements;
    std::size_t pointCount = 0;
    std::size_t polygonCount = 0;
    std::size_t bodyByte = 0;
    std::size_t lineCount = 0;
};

class HeaderReader {
public:
    explicit HeaderReader(PartSource const& source) : lines(source) {}

    Header read() {
        readFormat();
        for (;;) {
            TextLine const line = lines.requireData(noComment, "'end_header'");
            auto const words = wordsOf(line.text);
            if (words[0] == "end_header") {
                requireWords(line, words, 1);
                break;
            }
            readStatement(line, words);
        }
        header.bodyByte = lines.position();
        header.lineCount = lines.lineNumber();
        requirePoints();
        return std::move(header);
    }

private:
    static void requireWords(TextLine const& line, std::vector<std::string_view> const& words,
                             std::size_t count) {
        if (words.size() != count) {
            line.fail(counting(count, "word", "words") + " expected after " + quoteOf(words[0]) +
                      " and with it, " + std::to_string(words.size()) + " found");
        }
    }

    void readFormat() {
        TextLine const first = lines.requireData(noComment, "'ply'");
        if (first.text != "ply") {
            first.fail("'ply' expected, " + quoteOf(first.text) + " found");
        }
        TextLine line = lines.requireData(noComment, "'format'");
        auto const words = wordsOf(line.text);
        if (words.size() != 3 || words[0] != "format" || words[2] != "1.0") {
            line.fail("'format KIND 1.0' expected, " + quoteOf(line.text) + " found");
        }
        if (words[1] == "binary_little_endian") {
            header.format = PartFormat::PlyLittleEndian;
        } else if (words[1] == "binary_big_endian") {
            header.format = PartFormat::PlyBigEndian;
        } else if (words[1] != "ascii") {
            line.fail(quoteOf(words[1]) + " is no kind of a PLY file");
        }
    }

    void readStatement(TextLine const& line, std::vector<std::string_view> const& words) {
        if (words[0] == "element") {
            requireWords(line, words, 3);
            addElement(line, words);
        } else if (words[0] == "property") {
            addProperty(line, words);
        } else if (words[0] != "comment" && words[0] != "obj_info") {
            line.fail(quoteOf(words[0]) + " begins no line of a PLY header");
        }
    }

    void addElement(TextLine const& line, std::vector<std::string_view> const& words) {
        for (Element const& other : header.elements) {
            if (other.name == words[1]) {
                line.fail("the element " + quoteOf(words[1]) + " was there before");
            }
        }
        if (words[1] == "tristrips") {
            line.fail("strips of triangles are not read; export the part with faces");
        }
        Element element{std::string(words[1]), countIn(line, words[2]), {}};
        if (element.count > maxPartPoints) {
            line.fail("a count of " + std::to_string(element.count) + " is too large");
        }
        header.pointCount = element.name == "vertex" ? element.count : header.pointCount;
        header.polygonCount = element.name == "face" ? element.count : header.polygonCount;
        header.elements.push_back(element);
    }

    static Property propertyIn(TextLine const& line, std::vector<std::string_view> const& words) {
        Property property;
        property.isList = words.size() > 1 && words[1] == "list";
        requireWords(line, words, property.isList ? 5 : 3);
        property.name = words.back();
        property.type = typeIn(line, words[words.size() - 2]);
        if (property.isList) {
            property.countType = typeIn(line, words[2]);
            if (!isWhole(property.countType)) {
                line.fail("the count of a list cannot be of type " + quoteOf(words[2]));
            }
        }
        return property;
    }

    void addProperty(TextLine const& line, std::vector<std::string_view> const& words) {
        if (header.elements.empty()) {
            line.fail("a property before the first element");
        }
        Property property = propertyIn(line, words);
        Element& element = header.elements.back();
        for (Property const& other : element.properties) {
            if (other.name == property.name) {
                line.fail("the property " + quoteOf(property.name) + " was there before");
            }
        }
        property.role = roleIn(line, element.name, property);
        element.properties.push_back(property);
    }

    static Role roleIn(TextLine const& line, std::string const& element, Property const& property) {
        bool const isCorners = property.name == "vertex_indices" || property.name == "vertex_index";
        if (element == "face" && isCorners) {
            if (!property.isList || !isWhole(property.type)) {
                line.fail("the corners of faces have to be a list of whole numbers");
            }
            return Role::Corners;
        }
        auto const known = std::find(numberNames.begin(), numberNames.end(), property.name);
        if (element != "vertex" || known == numberNames.end()) {
            return Role::Other;
        }
        if (property.isList) {
            line.fail("a coordinate cannot be a list");
        }
        return static_cast<Role>(known - numberNames.begin());
    }

    static bool has(Element const& element, Role role) {
        return std::count_if(element.properties.begin(), element.properties.end(),
                             [role](Property const& property) { return property.role == role; }) == 1;
    }

public:
    static bool hasNormals(Element const& element) {
        return has(element, Role::NormalX) && has(element, Role::NormalY) && has(element, Role::NormalZ);
    }

private:
    /// Fails unless there is what makes a part, and every element takes room.
    void requirePoints() {
        TextLine const end{lines.nameOfSource(), header.lineCount, {}};
        for (Element const& element : header.elements) {
            if (element.properties.empty() && element.count > 0) {
                end.fail("the element " + quoteOf(element.name) + " has no properties");
            }
            if (element.name == "vertex" &&
                !(has(element, Role::X) && has(element, Role::Y) && has(element, Role::Z))) {
                end.fail("the element 'vertex' has not the properties x, y and z");
            }
            if (element.name == "face" && element.count > 0 && !has(element, Role::Corners)) {
                end.fail("the element 'face' has not one list vertex_indices");
            }
        }
        if (header.pointCount == 0) {
            end.fail("holds no points");
        }
    }

    SourceLines lines;
    Header header;
};

/// Where the values of the body come from, one after the other. A row is what an element has for each of its
/// count.
class TextValues {
public:
    TextValues(PartSource const& source, Header const& header)
        : name(source.name), lines(source, header.bodyByte, header.lineCount) {}

    void requireElement(Element const& element) {
        std::size_t const bytesEach = 2 * element.properties.size();
        if (element.count > lines.bytesLeft() / std::max<std::size_t>(bytesEach, 1)) {
            fail("the file is too short for " + std::to_string(element.count) + " of the element " +
                 quoteOf(element.name) + ": " + counting(lines.bytesLeft(), "byte follows", "bytes follow"));
        }
    }

    void beginRow(Element const& element) {
        TextLine const line = lines.requireData(noComment, "a row of the element " + quoteOf(element.name));
        number = line.number;
        words = wordsOf(line.text);
        nextWord = 0;
    }

    void endRow() {
        if (nextWord != words.size()) {
            fail("nothing more is expected in this row, " + quoteOf(words[nextWord]) + " found");
        }
    }

    double finite(Type) { return finiteIn(line(), word()); }

    long long whole(Type type) {
        std::string_view const text = word();
        long long const value = wholeIn(line(), text);
        if (value < least(type) || value > greatest(type)) {
            fail(quoteOf(text) + " is outside of its type");
        }
        return value;
    }

    void pass(Type) { requireNumber(line(), word()); }

    void requireList(std::size_t count, Type) {
        if (count > words.size() - nextWord) {
            fail("a list of " + std::to_string(count) + " numbers, " +
                 std::to_string(words.size() - nextWord) + " found");
        }
    }

    void requireEnd() { lines.requireEnd(noComment); }

    [[noreturn]] void fail(std::string const& complaint) const { line().fail(complaint); }

private:
    TextLine line() const { return {name, number == 0 ? lines.lineNumber() : number, {}}; }

    std::string_view word() {
        if (nextWord == words.size()) {
            fail("the row ends early, after " + counting(words.size(), "number", "numbers"));
        }
        return words[nextWord++];
    }

    static long long least(Type type) {
        bool const isSigned = type == Type::Int8 || type == Type::Int16 || type == Type::Int32;
        return isSigned ? -(1LL << (8 * sizeOf(type) - 1)) : 0;
    }

    static long long greatest(Type type) { return least(type) + (1LL << (8 * sizeOf(type))) - 1; }

    std::string const& name;
    SourceLines lines;
    std::size_t number = 0;
    std::vector<std::string_view> words;
    std::size_t nextWord = 0;
};

class BinaryValues {
public:
    BinaryValues(PartSource const& file, Header const& header)
        : source(file),
          order(header.format == PartFormat::PlyBigEndian ? std::endian::big : std::endian::little),
          place(header.bodyByte),
          valuePlace(header.bodyByte) {}

    void requireElement(Element const& element) {
        std::size_t bytesEach = 0;
        for (Property const& property : element.properties) {
            bytesEach += sizeOf(property.isList ? property.countType : property.type);
        }
        valuePlace = place;
        std::size_t const left = source.bytes.size() - place;
        if (element.count > left / std::max<std::size_t>(bytesEach, 1)) {
            fail("the file is too short for " + std::to_string(element.count) + " of the element " +
                 quoteOf(element.name) + ": " + counting(left, "byte follows", "bytes follow"));
        }
    }

    void beginRow(Element const&) {}

    void endRow() {}

    double finite(Type type) {
        double value = 0.0;
        if (type == Type::Float64) {
            value = doubleAt(source.bytes, taken(type), order);
        } else if (type == Type::Float32) {
            value = floatAt(source.bytes, taken(type), order);
        } else {
            value = static_cast<double>(whole(type));
        }
        if (!std::isfinite(value)) {
            fail("a coordinate is not a finite number");
        }
        return value;
    }

    long long whole(Type type) {
        std::size_t const at = taken(type);
        switch (type) {
        case Type::Int8:
            return static_cast<std::int8_t>(unsignedAt<std::uint8_t>(source.bytes, at, order));
        case Type::Uint8:
            return unsignedAt<std::uint8_t>(source.bytes, at, order);
        case Type::Int16:
            return static_cast<std::int16_t>(unsignedAt<std::uint16_t>(source.bytes, at, order));
        case Type::Uint16:
            return unsignedAt<std::uint16_t>(source.bytes, at, order);
        case Type::Int32:
            return static_cast<std::int32_t>(unsignedAt<std::uint32_t>(source.bytes, at, order));
        default:
            return unsignedAt<std::uint32_t>(source.bytes, at, order);
        }
    }

    void pass(Type type) { taken(type); }

    void requireList(std::size_t count, Type type) {
        if (count > (source.bytes.size() - place) / sizeOf(type)) {
            fail("the file is too short for a list of " + std::to_string(count) + " numbers");
        }
    }

    void requireEnd() {
        if (place != source.bytes.size()) {
            source.failAtByte(place, "nothing more is expected, " + counting(source.bytes.size() - place,
                                                                             "byte follows", "bytes follow"));
        }
    }

    [[noreturn]] void fail(std::string const& complaint) const { source.failAtByte(valuePlace, complaint); }

private:
    /// Where the next value stands, which is passed.
    std::size_t taken(Type type) {
        valuePlace = place;
        if (sizeOf(type) > source.bytes.size() - place) {
            source.failAtByte(source.bytes.size(), "the file ends within a number");
        }
        place += sizeOf(type);
        return valuePlace;
    }

    PartSource const& source;
    std::endian order;
    std::size_t place;
    std::size_t valuePlace;
};

template <class Values>
class BodyReader {
public:
    BodyReader(PartSource const& source, Header const& readHeader)
        : header(readHeader), values(source, readHeader) {}

    PartAsRead read() {
        for (Element const& element : header.elements) {
            values.requireElement(element);
            if (element.name == "vertex") {
                part.points.reserve(element.count);
                keepsNormals = header.polygonCount == 0 && HeaderReader::hasNormals(element);
            }
            for (std::size_t row = 0; row < element.count; ++row) {
                values.beginRow(element);
                readRow(element);
                values.endRow();
            }
        }
        values.requireEnd();
        part.format = header.format;
        return std::move(part);
    }

private:
    void readRow(Element const& element) {
        std::array<double, numberNames.size()> numbers{};
        for (Property const& property : element.properties) {
            if (property.isList) {
                readList(property);
            } else if (property.role == Role::Other || (property.role > Role::Z && !keepsNormals)) {
                values.pass(property.type);
            } else {
                numbers[static_cast<std::size_t>(property.role)] = values.finite(property.type);
            }
        }
        if (element.name == "vertex") {
            part.points.push_back({numbers[0], numbers[1], numbers[2]});
            if (keepsNormals) {
                part.normals.push_back({numbers[3], numbers[4], numbers[5]});
            }
        }
    }

    void readList(Property const& property) {
        long long const count = values.whole(property.countType);
        if (count < 0) {
            values.fail("a list of " + std::to_string(count) + " numbers");
        }
        values.requireList(static_cast<std::size_t>(count), property.type);
        for (long long i = 0; i < count; ++i) {
            if (property.role == Role::Corners) {
                addCorner(values.whole(property.type));
            } else {
                values.pass(property.type);
            }
        }
        std::string const fault = property.role == Role::Corners ? endPolygon(part) : std::string();
        if (!fault.empty()) {
            values.fail(fault);
        }
    }

    void addCorner(long long corner) {
        if (corner < 0 || static_cast<std::size_t>(corner) >= header.pointCount) {
            values.fail("there is no point " + std::to_string(corner) + ", they are numbered from 0 to " +
                        std::to_string(header.pointCount - 1));
        }
        part.corners.push_back(static_cast<std::uint32_t>(corner));
    }

    Header const& header;
    Values values;
    bool keepsNormals = false; ///< those of a mesh may be no numbers, and are not needed
    PartAsRead part;
};

} // namespace

PartFormat plyFormatOf(PartSource const& source) {
    return HeaderReader(source).read().format;
}

PartAsRead readPly(PartSource const& source) {
    Header const header = HeaderReader(source).read();
    return header.format == PartFormat::PlyText ? BodyReader<TextValues>(source, header).read()
                                                : BodyReader<BinaryValues>(source, header).read();
}

} // namespace QELT::Inspection
