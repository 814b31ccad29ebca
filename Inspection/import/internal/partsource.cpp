#include "Inspection/import/internal/partsource.h"

#include "Inspection/records/failure.h"
#include "Inspection/records/numbers.h"

#include <algorithm>
#include <charconv>

namespace QELT::Inspection {

namespace {

constexpr std::string_view blanks = " \t\r\v\f";

std::string_view withoutComment(std::string_view text, char comment) {
    std::string_view const data = comment == noComment ? text : text.substr(0, text.find(comment));
    auto const first = data.find_first_not_of(blanks);
    return first == std::string_view::npos ? std::string_view()
                                           : data.substr(first, data.find_last_not_of(blanks) - first + 1);
}

} // namespace

void PartSource::fail(std::string const& complaint) const {
    throw Failure(name + ": " + complaint);
}

void PartSource::failAtByte(std::size_t byte, std::string const& complaint) const {
    throw Failure(name + ", byte " + std::to_string(byte) + ": " + complaint);
}

SourceLines::SourceLines(PartSource const& file, std::size_t firstByte, std::size_t linesBefore)
    : source(file), place(firstByte), number(linesBefore) {}

std::optional<TextLine> SourceLines::next() {
    if (place >= source.bytes.size()) {
        return std::nullopt;
    }
    auto const end = std::min(source.bytes.find('\n', place), source.bytes.size());
    TextLine const line{source.name, ++number, source.bytes.substr(place, end - place)};
    place = std::min(end + 1, source.bytes.size());
    return line;
}

bool SourceLines::isLastEnded() const {
    char const last = source.bytes[place - 1];
    return last == '\n' || last == '\r';
}

std::optional<TextLine> SourceLines::nextData(char comment) {
    while (auto const line = next()) {
        std::string_view const data = withoutComment(line->text, comment);
        if (!data.empty()) {
            if (!isLastEnded()) {
                line->fail("the file ends within this line; if it is whole, end the line");
            }
            return TextLine{line->source, line->number, data};
        }
    }
    return std::nullopt;
}

TextLine SourceLines::requireData(char comment, std::string const& what) {
    auto const line = nextData(comment);
    if (!line) {
        throw Failure(source.name + ", line " + std::to_string(number) + ": the file ends where " + what +
                      " should follow");
    }
    return *line;
}

void SourceLines::requireEnd(char comment) {
    if (auto const line = nextData(comment)) {
        line->fail("nothing more is expected, " + quoteOf(line->text) + " found");
    }
}

std::vector<std::string_view> wordsOf(std::string_view text) {
    std::vector<std::string_view> words;
    for (auto begin = text.find_first_not_of(blanks); begin != std::string_view::npos;
         begin = text.find_first_not_of(blanks, begin)) {
        auto const end = std::min(text.find_first_of(blanks, begin), text.size());
        words.push_back(text.substr(begin, end - begin));
        begin = end;
    }
    return words;
}

std::string counting(std::size_t count, std::string const& singular, std::string const& plural) {
    return std::to_string(count) + " " + (count == 1 ? singular : plural);
}

double finiteIn(TextLine const& line, std::string_view word) {
    auto const number = parseNumber(word);
    if (!number) {
        line.fail(quoteOf(word) + " is not a finite number");
    }
    return *number;
}

void requireNumber(TextLine const& line, std::string_view word) {
    std::string_view const digits = word.starts_with('+') ? word.substr(1) : word;
    double value = 0.0;
    auto const result = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (result.ec == std::errc::invalid_argument || result.ptr != digits.data() + digits.size()) {
        line.fail(quoteOf(word) + " is not a number");
    }
}

long long wholeIn(TextLine const& line, std::string_view word) {
    long long value = 0;
    auto const result = std::from_chars(word.data(), word.data() + word.size(), value);
    if (result.ec != std::errc() || result.ptr != word.data() + word.size()) {
        line.fail(quoteOf(word) + " is not a whole number");
    }
    return value;
}

std::size_t countIn(TextLine const& line, std::string_view word) {
    long long const value = wholeIn(line, word);
    if (value < 0) {
        line.fail(quoteOf(word) + " is no count");
    }
    return static_cast<std::size_t>(value);
}

void requireRoom(TextLine const& line, std::size_t count, std::size_t bytesEach, std::size_t bytesLeft) {
    if (count > maxPartPoints || count > bytesLeft / bytesEach) {
        line.fail("the file is too short for a count of " + std::to_string(count) + ": " +
                  counting(bytesLeft, "byte follows", "bytes follow"));
    }
}

std::array<double, 3> pointIn(TextLine const& line, std::vector<std::string_view> const& words,
                              std::size_t first) {
    return {finiteIn(line, words[first]), finiteIn(line, words[first + 1]), finiteIn(line, words[first + 2])};
}

std::string endPolygon(PartAsRead& part) {
    std::size_t const begin = part.polygonEnds.empty() ? 0 : part.polygonEnds.back();
    std::size_t const count = part.corners.size() - begin;
    if (count < 3) {
        return "a polygon of " + counting(count, "corner", "corners");
    }
    if (count > maxPolygonCorners) {
        return "a polygon of " + std::to_string(count) + " corners; at most " +
               std::to_string(maxPolygonCorners) + " are taken";
    }
    part.polygonEnds.push_back(part.corners.size());
    return {};
}

} // namespace QELT::Inspection
