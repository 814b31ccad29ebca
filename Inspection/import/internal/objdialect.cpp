#include "Inspection/import/internal/objdialect.h"

#include <algorithm>
#include <charconv>

// The core's loader takes any 'v' or 'f' for the start of a record, wherever it stands, if numbers follow; a
// 't' right behind a 'v' starts a flat place. Lines, comments and names mean nothing to it, faces with
// slashes are skipped, and of a face three numbers count. So a file reads alike both ways if each line of
// data has just the numbers that the loader takes, in decimal digits, and if in comments, names and groups no
// such letter is followed by as many numbers as make a record. What follows is judged by more generous rules
// than the loader's: a file may be taken for misread that is not, and is then read by the strict reader.
// Points of no face the loader leaves out in the end.

namespace QELT::Inspection {

namespace {

constexpr std::string_view blanks = " \t\r\v\f";

bool isDecimal(std::string_view word) {
    return word.find_first_not_of("0123456789+-.eE") == std::string_view::npos;
}

bool isDigits(std::string_view word) {
    return word.find_first_not_of("0123456789") == std::string_view::npos;
}

/// How many numbers stand at the start of a text, with or without blanks between; no more than `limit` are
/// counted.
std::size_t numbersAtStartOf(std::string_view text, std::size_t limit) {
    std::size_t count = 0;
    while (count < limit) {
        text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
        text.remove_prefix(text.starts_with('+') ? 1 : 0);
        double ignored = 0.0;
        auto const result = std::from_chars(text.data(), text.data() + text.size(), ignored);
        if (result.ec == std::errc::invalid_argument) {
            break;
        }
        text.remove_prefix(static_cast<std::size_t>(result.ptr - text.data()));
        ++count;
    }
    return count;
}

/// Whether the loader finds no record in a text that is none.
bool isSilent(std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        std::string_view const rest = text.substr(i + 1);
        bool const mayBegin = text[i] == 'v' || text[i] == 'f';
        if (mayBegin && numbersAtStartOf(rest, 3) == 3) {
            return false;
        }
        if (text[i] == 'v' && rest.starts_with('t') && numbersAtStartOf(rest.substr(1), 2) == 2) {
            return false;
        }
    }
    return true;
}

struct Counts {
    std::size_t points = 0;
    std::size_t flatPlaces = 0;
};

/// Whether the words behind the keyword are what the loader takes.
bool isPlainData(std::vector<std::string_view> const& words, Counts& counts) {
    std::string_view const keyword = words[0];
    if (keyword == "f") {
        return words.size() == 4 && std::all_of(words.begin() + 1, words.end(), isDigits);
    }
    counts.points += keyword == "v" ? 1U : 0U;
    counts.flatPlaces += keyword == "vt" ? 1U : 0U;
    return (keyword != "vt" || words.size() >= 3) && std::all_of(words.begin() + 1, words.end(), isDecimal);
}

bool isPlainLine(std::string_view text, Counts& counts) {
    auto const comment = std::min(text.find('#'), text.size());
    auto const words = wordsOf(text.substr(0, comment));
    bool const isData =
        !words.empty() && (words[0] == "v" || words[0] == "vt" || words[0] == "vn" || words[0] == "f");
    if (!isData) {
        bool const isLostFace = !words.empty() && words[0] == "fo";
        return isSilent(text) && !isLostFace && !text.ends_with('\\');
    }
    return isPlainData(words, counts) && isSilent(text.substr(comment));
}

} // namespace

bool isPlainObj(PartSource const& source) {
    Counts counts;
    SourceLines lines(source);
    while (auto const line = lines.next()) {
        if (!isPlainLine(line->text, counts)) {
            return false;
        }
    }
    return counts.flatPlaces == 0 || counts.flatPlaces == counts.points;
}

} // namespace QELT::Inspection
