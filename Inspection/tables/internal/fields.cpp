#include "Inspection/tables/internal/fields.h"

#include "Inspection/records/numbers.h"

#include <algorithm>
#include <array>

// A semicolon separates wherever half of the lines have one, then a tab, then a comma; else blanks do. Commas
// are decimal, and blanks separate, where every word between blanks is a number with one comma at most and
// there are two words or more: "1,5 2,5" is that, "1, 2" is not. Tabs that stand in runs, so that the lines
// have unequal numbers of single ones, are blanks.

namespace QELT::Inspection {

namespace {

std::vector<std::string_view> wordsBetweenBlanks(std::string_view text) {
    std::vector<std::string_view> words;
    for (auto begin = text.find_first_not_of(tableBlanks); begin != std::string_view::npos;
         begin = text.find_first_not_of(tableBlanks, begin)) {
        auto const end = std::min(text.find_first_of(tableBlanks, begin), text.size());
        words.push_back(text.substr(begin, end - begin));
        begin = end;
    }
    return words;
}

std::string_view unquoted(std::string_view field) {
    std::string_view const text = trimmed(field);
    bool const isQuoted = text.size() >= 2 && text.front() == '"' && text.back() == '"';
    return isQuoted ? trimmed(text.substr(1, text.size() - 2)) : text;
}

/// The next separator that stands in no quotation, which begins with a field alone.
std::size_t endOfField(std::string_view text, char separator) {
    auto const first = text.find_first_not_of(" ");
    if (first == std::string_view::npos || text[first] != '"') {
        return std::min(text.find(separator), text.size());
    }
    bool isInside = true;
    for (std::size_t i = first + 1; i < text.size(); ++i) {
        isInside = text[i] == '"' ? !isInside : isInside;
        if (!isInside && text[i] == separator) {
            return i;
        }
    }
    return isInside ? std::min(text.find(separator), text.size()) : text.size();
}

std::vector<std::string_view> fieldsBetween(std::string_view text, char separator) {
    std::vector<std::string_view> fields;
    for (;;) {
        auto const end = endOfField(text, separator);
        fields.push_back(unquoted(text.substr(0, end)));
        if (end == text.size()) {
            return fields;
        }
        text.remove_prefix(end + 1);
    }
}

bool haveMost(std::vector<std::string_view> const& lines, char separator) {
    auto const count = std::count_if(lines.begin(), lines.end(), [&](std::string_view line) {
        return endOfField(line, separator) < line.size();
    });
    return 2 * count >= static_cast<std::ptrdiff_t>(lines.size());
}

bool haveEquallyMany(std::vector<std::string_view> const& lines) {
    auto const tabsIn = [](std::string_view line) { return std::count(line.begin(), line.end(), '\t'); };
    return std::all_of(lines.begin(), lines.end(),
                       [&](std::string_view line) { return tabsIn(line) == tabsIn(lines.front()); });
}

bool isLineOfWords(std::string_view line, bool (*isWord)(std::string_view)) {
    auto const words = wordsBetweenBlanks(line);
    return words.size() >= 2 && std::all_of(words.begin(), words.end(), isWord);
}

/// Without the first line, which may be a heading, unless it is the only one.
bool areOfDecimalCommas(std::vector<std::string_view> const& lines) {
    return std::all_of(lines.begin() + (lines.size() > 1 ? 1 : 0), lines.end(),
                       [](std::string_view line) { return isLineOfWords(line, isNumber); });
}

std::string lowered(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), [](char character) {
        return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
    });
    return result;
}

constexpr char signOf(Separator separator) {
    return separator == Separator::Semicolon ? ';' : separator == Separator::Tab ? '\t' : ',';
}

} // namespace

Separator separatorOf(std::vector<std::string_view> const& lines) {
    if (haveMost(lines, ';')) {
        return Separator::Semicolon;
    }
    if (haveMost(lines, '\t') && haveEquallyMany(lines)) {
        return Separator::Tab;
    }
    if (haveMost(lines, ',') && !areOfDecimalCommas(lines)) {
        return Separator::Comma;
    }
    return Separator::Blanks;
}

DecimalMark decimalMarkOf(std::vector<std::string_view> const& lines, Separator separator) {
    std::size_t points = 0;
    std::size_t commas = 0;
    for (std::string_view const line : lines) {
        for (std::string_view const field : fieldsOf(line, separator)) {
            if (isNumber(field)) {
                points += field.find('.') != std::string_view::npos ? 1U : 0U;
                commas += field.find(',') != std::string_view::npos ? 1U : 0U;
            }
        }
    }
    return points + commas == 0 ? DecimalMark::Open
           : commas > points    ? DecimalMark::Comma
                                : DecimalMark::Point;
}

std::vector<std::string_view> fieldsOf(std::string_view line, Separator separator) {
    if (separator != Separator::Blanks) {
        return fieldsBetween(line, signOf(separator));
    }
    auto words = wordsBetweenBlanks(line);
    std::transform(words.begin(), words.end(), words.begin(), unquoted);
    return words;
}

std::vector<std::string> headingFieldsOf(std::string_view line, Separator separator) {
    std::vector<std::string> names;
    for (std::string_view const field : fieldsOf(line, separator)) {
        bool const isUnitAlone = field.starts_with('[') || field.starts_with('(');
        if (separator == Separator::Blanks && isUnitAlone && !names.empty()) {
            names.back() += ' ' + std::string(field);
        } else {
            names.emplace_back(field);
        }
    }
    while (names.size() > 1 && names.back().empty()) {
        names.pop_back();
    }
    return names;
}

bool isMissing(std::string_view field) {
    constexpr std::array<std::string_view, 5> words{"nan", "n/a", "na", "null", "none"};
    constexpr std::size_t longest = 4;
    return field.empty() ||
           (field.size() <= longest && std::find(words.begin(), words.end(), lowered(field)) != words.end());
}

bool isNumber(std::string_view field) {
    auto const comma = field.find(',');
    if (comma == std::string_view::npos) {
        return parseNumber(field).has_value();
    }
    std::string text(field);
    text[comma] = '.';
    return parseNumber(text).has_value();
}

bool isText(std::string_view field) {
    return !isMissing(field) && !isNumber(field);
}

bool isComment(std::string_view line) {
    return line.starts_with('#') || line.starts_with('%') || line.starts_with("//");
}

TableColumn columnOf(std::string_view field) {
    constexpr std::array<std::string_view, 2> brackets{"[]", "()"};
    std::string_view const text = trimmed(field);
    for (std::string_view const pair : brackets) {
        auto const open = text.rfind(pair[0]);
        if (text.ends_with(pair[1]) && open != std::string_view::npos && open > 0) {
            return {std::string(trimmed(text.substr(0, open))),
                    std::string(trimmed(text.substr(open + 1, text.size() - open - 2)))};
        }
    }
    return {std::string(text), {}};
}

bool isUnit(std::string_view field) {
    constexpr std::array<std::string_view, 34> units{
        "mm", "m",   "cm",  "um", "µm",  "in",   "inch", "ft",   "deg", "°",   "rad", "s",
        "ms", "us",  "µs",  "ns", "min", "%",    "%fs",  "%fsh", "db",  "lin", "v",   "mv",
        "hz", "khz", "mhz", "1",  "-",   "mm/s", "m/s",  "a",    "ma",  "°c"};
    std::string text = lowered(field);
    if (text.size() >= 2 && (text.front() == '[' || text.front() == '(')) {
        text = text.substr(1, text.size() - 2);
    }
    return std::find(units.begin(), units.end(), text) != units.end();
}

} // namespace QELT::Inspection
