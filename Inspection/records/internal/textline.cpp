#include "Inspection/records/internal/textline.h"

#include "Inspection/records/failure.h"

#include <cmath>
#include <istream>
#include <limits>

namespace QELT::Inspection {

namespace {

std::string_view withoutByteOrderMark(std::string_view text) {
    constexpr std::string_view mark = "\xEF\xBB\xBF";
    return text.starts_with(mark) ? text.substr(mark.size()) : text;
}

} // namespace

void TextLine::fail(std::string const& complaint) const {
    throw Failure(source + ", line " + std::to_string(number) + ": " + complaint);
}

std::string quoteOf(std::string_view word) {
    constexpr std::size_t maxLength = 40;
    std::string text(word.substr(0, maxLength));
    for (char& character : text) {
        character = character < ' ' || character > '~' ? '?' : character;
    }
    return "'" + text + (word.size() > maxLength ? "..." : "") + "'";
}

void forEachLine(std::istream& input, std::string const& source,
                 std::function<void(TextLine const&)> const& visit) {
    std::string text;
    for (std::size_t number = 1; std::getline(input, text); ++number) {
        visit({source, number, number == 1 ? withoutByteOrderMark(text) : text});
    }
    if (input.bad()) {
        throw Failure(source + ": cannot be read to its end");
    }
}

void requirePointInReach(TextLine const& line, std::span<double const> numbers, std::size_t first,
                         std::string const& name) {
    for (double const coordinate : numbers.subspan(first, 3)) {
        if (std::abs(coordinate) > std::numeric_limits<float>::max()) {
            line.fail("the " + name + " lies too far out");
        }
    }
}

} // namespace QELT::Inspection
