#include "Inspection/import/internal/tablereader.h"

#include "Inspection/records/numbers.h"

#include <algorithm>
#include <cmath>

// A table holds a point a line. What follows a '#' or stands in a line that begins with "//" is a comment.
// How numbers are told apart is settled once for the file, by its first line that shows it, since "1,5 2,5
// 3,5" are three numbers in one country and six in another: a semicolon separates, and commas are then
// decimal; so they are where blanks make three words or more, each with one comma between digits at most.
// Else blanks and commas separate, a comma with the blanks around it once, so that two commas have an empty
// field between them; a tab is a blank.
//
// The first line of data is a heading if a word of it begins with a letter; so is a comment behind "//" that
// names x, y and z. It says which columns are coordinates and which a normal; others are passed over. Without
// a heading the first three numbers of a line are the point. 6 numbers may end in a normal or a colour, 4 in
// an intensity; where the first of 4 columns but counts the lines, only a heading can tell. All lines have as
// many fields as the first. Cost: one pass.

namespace QELT::Inspection {

namespace {

constexpr char comment = '#';
constexpr std::string_view blanks = " \t\r\v\f";
constexpr std::string_view headingMark = "//";

enum class Style : std::uint8_t { Open, Plain, DecimalCommas, Semicolons };

bool isLetter(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

/// Without the blanks and the marks of quotation around it.
std::string_view bare(std::string_view field) {
    std::string_view text = trimmed(field);
    if (text.size() >= 2 && text.front() == '"' && text.back() == '"') {
        text = trimmed(text.substr(1, text.size() - 2));
    }
    return text;
}

bool hasOneCommaAtMost(std::string_view word) {
    auto const place = word.find(',');
    if (place == std::string_view::npos) {
        return true;
    }
    return place > 0 && place + 1 < word.size() && word.find(',', place + 1) == std::string_view::npos &&
           word.find('.') == std::string_view::npos;
}

/// `Open` if the line leaves it so.
Style styleOf(std::string_view text) {
    if (text.find(';') != std::string_view::npos) {
        return Style::Semicolons;
    }
    if (text.find(',') == std::string_view::npos) {
        return Style::Open;
    }
    auto const words = wordsOf(text);
    bool const areDecimal = words.size() >= 3 && std::all_of(words.begin(), words.end(), hasOneCommaAtMost);
    return areDecimal ? Style::DecimalCommas : Style::Plain;
}

std::vector<std::string_view> fieldsAt(std::string_view text, char separator) {
    std::vector<std::string_view> fields;
    for (;;) {
        auto const end = std::min(text.find(separator), text.size());
        fields.push_back(bare(text.substr(0, end)));
        if (end == text.size()) {
            return fields;
        }
        text.remove_prefix(end + 1);
    }
}

std::vector<std::string_view> plainFieldsOf(std::string_view text) {
    std::vector<std::string_view> fields;
    for (std::string_view const part : splitAtCommas(text)) {
        auto const words = wordsOf(part);
        if (words.empty()) {
            fields.emplace_back();
        }
        std::transform(words.begin(), words.end(), std::back_inserter(fields), bare);
    }
    return fields;
}

std::vector<std::string_view> fieldsOf(std::string_view text, Style style) {
    switch (style) {
    case Style::Semicolons:
        return fieldsAt(text, ';');
    case Style::DecimalCommas:
        return wordsOf(text);
    default:
        return plainFieldsOf(text);
    }
}

std::string lowered(std::string_view text) {
    std::string result(text);
    for (char& character : result) {
        character =
            character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
    }
    return result;
}

/// What columns may be, in the order of their roles.
constexpr std::size_t roleCount = 6;
constexpr std::array<std::string_view, roleCount> roleNames{"x", "y", "z", "nx", "ny", "nz"};
constexpr std::array<std::string_view, roleCount> longNames{"x", "y", "z", "normalx", "normaly", "normalz"};

/// "X [mm]" and "Normal_x" in place of "x" and "nx"; `roleCount` for any other name.
std::size_t roleOf(std::string_view field) {
    std::string name;
    for (char const character : lowered(field.substr(0, field.find_first_of("[(")))) {
        if (character != '_' && character != '.' && blanks.find(character) == std::string_view::npos) {
            name += character;
        }
    }
    for (std::size_t role = 0; role < roleCount; ++role) {
        if (name == roleNames[role] || name == longNames[role]) {
            return role;
        }
    }
    return roleCount;
}

using Columns = std::array<std::optional<std::size_t>, roleCount>;

bool hasAll(Columns const& columns, std::size_t first) {
    return columns[first] && columns[first + 1] && columns[first + 2];
}

/// The first column of each name.
Columns columnsOf(std::vector<std::string_view> const& heading) {
    Columns columns;
    for (std::size_t i = 0; i < heading.size(); ++i) {
        std::size_t const role = roleOf(heading[i]);
        if (role < roleCount && !columns[role]) {
            columns[role] = i;
        }
    }
    return columns;
}

bool isHeading(std::vector<std::string_view> const& fields) {
    return std::any_of(fields.begin(), fields.end(),
                       [](std::string_view field) {
                           std::string const text = lowered(field);
                           return !text.empty() && isLetter(text[0]) && text != "nan" && text != "inf";
                       }) &&
           !parseNumber(fields[0]);
}

/// The data of a line, trimmed; nothing of a comment.
std::string_view dataOf(std::string_view text) {
    std::string_view const data = trimmed(text.substr(0, text.find(comment)));
    return data.starts_with(headingMark) ? std::string_view() : data;
}

class TableReader {
public:
    TableReader(PartSource const& file, TableNormals wantedNormals)
        : source(file), areNormalsRequired(wantedNormals == TableNormals::Required) {}

    PartAsRead read() {
        part.format = PartFormat::Table;
        SourceLines lines(source);
        while (auto const line = lines.next()) {
            std::string_view const data = dataOf(line->text);
            if (!data.empty()) {
                readData({line->source, line->number, data});
            } else if (part.points.empty()) {
                readComment(*line);
            }
        }
        if (part.points.empty()) {
            source.fail("holds no points");
        }
        requireNoCount();
        return std::move(part);
    }

private:
    void settleStyle(std::string_view text) { style = style == Style::Open ? styleOf(text) : style; }

    /// A comment that names the columns.
    void readComment(TextLine const& line) {
        std::string_view const text = trimmed(line.text);
        if (!text.starts_with(headingMark)) {
            return;
        }
        std::string_view const names = text.substr(headingMark.size());
        auto const fields = fieldsOf(names, styleOf(names));
        if (hasAll(columnsOf(fields), 0)) {
            takeHeading(line, fields);
        }
    }

    void readData(TextLine const& line) {
        settleStyle(line.text);
        auto const fields = fieldsOf(line.text, style);
        if (part.points.empty() && !hasHeading && isHeading(fields)) {
            takeHeading(line, fields);
            style = style == Style::Plain ? Style::Open : style; // its commas say nothing of numbers
            return;
        }
        if (fieldCount == 0) {
            settleColumns(line, fields.size());
        }
        if (fields.size() != fieldCount) {
            line.fail(std::to_string(fieldCount) + " numbers expected, " + std::to_string(fields.size()) +
                      " found");
        }
        readRow(line, fields);
    }

    void takeHeading(TextLine const& line, std::vector<std::string_view> const& fields) {
        columns = columnsOf(fields);
        fieldCount = fields.size();
        hasHeading = true;
        for (std::size_t role = 0; role < (areNormalsRequired ? roleCount : 3); ++role) {
            if (!columns[role]) {
                line.fail("the heading names no column '" + std::string(roleNames[role]) + "'");
            }
        }
    }

    /// Without a heading.
    void settleColumns(TextLine const& line, std::size_t count) {
        constexpr std::array<std::size_t, 6> knownCounts{3, 4, 6, 7, 9, 10};
        bool const isKnown = std::find(knownCounts.begin(), knownCounts.end(), count) != knownCounts.end();
        if (areNormalsRequired ? count != 6 : count < 3) {
            line.fail(std::to_string(areNormalsRequired ? 6 : 3) + " numbers expected, " +
                      std::to_string(count) + " found");
        }
        if (!isKnown) {
            line.fail(std::to_string(count) +
                      " numbers; name the columns in a first line such as 'x,y,z,other'");
        }
        std::size_t const roles = areNormalsRequired ? roleCount : 3;
        for (std::size_t role = 0; role < roles; ++role) {
            columns[role] = role;
        }
        fieldCount = count;
        isPerhapsCounted = count == 4;
    }

    double numberIn(TextLine const& line, std::string_view field) const {
        std::string text(field);
        auto const decimalComma = text.find(',');
        if (decimalComma != std::string::npos && text.find('.') == std::string::npos) {
            text[decimalComma] = '.'; // one that separates is in no field
        }
        auto const number = parseNumber(text);
        if (!number) {
            line.fail(quoteOf(field) + " is not a number");
        }
        return *number;
    }

    std::array<double, 3> triple(TextLine const& line, std::vector<std::string_view> const& fields,
                                 std::size_t role) const {
        std::array<double, 3> numbers{};
        for (std::size_t i = 0; i < 3; ++i) {
            numbers[i] = numberIn(line, fields[*columns[role + i]]);
        }
        return numbers;
    }

    void readRow(TextLine const& line, std::vector<std::string_view> const& fields) {
        requireNumbers(line, fields);
        auto const point = triple(line, fields, 0);
        requirePointInReach(line, point, 0, "point");
        part.points.push_back(point);
        double const start = part.points[0][0] == 0.0 ? 0.0 : 1.0;
        isPerhapsCounted =
            isPerhapsCounted && point[0] == start + static_cast<double>(part.points.size() - 1);
        if (hasAll(columns, 3)) {
            part.normals.push_back(triple(line, fields, 3));
            if (areNormalsRequired) {
                requireLength(line, part.normals.back());
            }
        }
    }

    /// Of unnamed columns all hold numbers.
    void requireNumbers(TextLine const& line, std::vector<std::string_view> const& fields) const {
        for (std::size_t i = 3; i < fields.size() && !hasHeading; ++i) {
            numberIn(line, fields[i]);
        }
    }

    static void requireLength(TextLine const& line, std::array<double, 3> const& normal) {
        double const square = normal[0] * normal[0] + normal[1] * normal[1] + normal[2] * normal[2];
        if (!(square > 0.0) || !std::isfinite(square)) {
            line.fail("the normal has no usable length");
        }
    }

    void requireNoCount() const {
        if (isPerhapsCounted && part.points.size() > 1) {
            source.fail("the first of 4 columns counts the lines; name the columns in a first line such as "
                        "'number,x,y,z'");
        }
    }

    PartSource const& source;
    bool areNormalsRequired;
    Style style = Style::Open;
    Columns columns;
    std::size_t fieldCount = 0; ///< 0 before the first line of data
    bool hasHeading = false;
    bool isPerhapsCounted = false;
    PartAsRead part;
};

} // namespace

bool isPointTable(PartSource const& source) {
    SourceLines lines(source);
    while (auto const line = lines.next()) {
        std::string_view const text = trimmed(line->text);
        if (text.starts_with(headingMark)) {
            return true;
        }
        std::string_view const data = dataOf(text);
        if (!data.empty()) {
            auto const fields = fieldsOf(data, styleOf(data));
            return parseNumber(fields[0]) || hasAll(columnsOf(fields), 0);
        }
    }
    return false;
}

PartAsRead readPointTable(PartSource const& source, TableNormals normals) {
    return TableReader(source, normals).read();
}

} // namespace QELT::Inspection
