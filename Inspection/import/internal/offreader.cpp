#include "Inspection/import/internal/offreader.h"

namespace QELT::Inspection {

namespace {

constexpr char comment = '#';

/// What a line of a point holds, as the first word of the file says.
struct PointForm {
    std::size_t minNumbers = 3;
    std::size_t maxNumbers = 3;
};

PointForm formIn(TextLine const& line, std::string_view word) {
    if (word == "OFF") {
        return {3, 3};
    }
    if (word == "NOFF") {
        return {6, 6};
    }
    if (word == "COFF") {
        return {6, 7};
    }
    if (word == "CNOFF" || word == "NCOFF") {
        return {9, 10};
    }
    line.fail(quoteOf(word) + " is none of the kinds read: OFF, COFF, NOFF and CNOFF as text");
}

void readPoint(TextLine const& line, PointForm const& form, PartAsRead& part) {
    auto const words = wordsOf(line.text);
    if (words.size() < form.minNumbers || words.size() > form.maxNumbers) {
        line.fail(std::to_string(form.minNumbers) + " numbers expected for a point, " +
                  std::to_string(words.size()) + " found");
    }
    part.points.push_back(pointIn(line, words, 0));
    for (std::size_t i = 3; i < words.size(); ++i) {
        requireNumber(line, words[i]);
    }
}

std::uint32_t cornerIn(TextLine const& line, std::string_view word, PartAsRead const& part) {
    long long const corner = wholeIn(line, word);
    if (corner < 0 || static_cast<std::size_t>(corner) >= part.points.size()) {
        line.fail("there is no point " + std::to_string(corner) + ", they are numbered from 0 to " +
                  std::to_string(part.points.size() - 1));
    }
    return static_cast<std::uint32_t>(corner);
}

/// A count, the corners, and nothing or a colour of one, three or four numbers.
void readPolygon(TextLine const& line, PartAsRead& part) {
    auto const words = wordsOf(line.text);
    std::size_t const count = countIn(line, words[0]);
    if (count >= words.size()) {
        line.fail(counting(count, "corner", "corners") + " expected, " + std::to_string(words.size() - 1) +
                  " found");
    }
    std::size_t const rest = words.size() - 1 - count;
    if (rest == 2 || rest > 4) {
        line.fail(std::to_string(rest) + " numbers behind the corners are no colour");
    }
    for (std::size_t i = 1; i < words.size(); ++i) {
        if (i > count) {
            requireNumber(line, words[i]);
        } else {
            part.corners.push_back(cornerIn(line, words[i], part));
        }
    }
    std::string const fault = endPolygon(part);
    if (!fault.empty()) {
        line.fail(fault);
    }
}

struct OffCounts {
    std::size_t points = 0;
    std::size_t polygons = 0;
};

/// The counts behind the first word, in its line or the next; that of the edges means nothing.
OffCounts countsIn(TextLine const& line, std::vector<std::string_view> const& words, PointForm const& form,
                   SourceLines const& lines) {
    if (words.size() != 3) {
        line.fail("3 counts expected, " + std::to_string(words.size()) + " found");
    }
    OffCounts const counts{countIn(line, words[0]), countIn(line, words[1])};
    countIn(line, words[2]);
    requireRoom(line, counts.points, 2 * form.minNumbers, lines.bytesLeft());
    requireRoom(line, counts.polygons, 8, lines.bytesLeft());
    if (counts.points == 0) {
        line.fail("holds no points");
    }
    return counts;
}

} // namespace

PartAsRead readOff(PartSource const& source) {
    SourceLines lines(source);
    TextLine const first = lines.requireData(comment, "'OFF'");
    auto words = wordsOf(first.text);
    PointForm const form = formIn(first, words[0]);
    words.erase(words.begin());
    TextLine const line = words.empty() ? lines.requireData(comment, "the counts") : first;
    OffCounts const counts = countsIn(line, words.empty() ? wordsOf(line.text) : words, form, lines);
    PartAsRead part;
    part.format = PartFormat::Off;
    part.points.reserve(counts.points);
    for (std::size_t i = 0; i < counts.points; ++i) {
        readPoint(lines.requireData(comment, "point " + std::to_string(i)), form, part);
    }
    for (std::size_t i = 0; i < counts.polygons; ++i) {
        readPolygon(lines.requireData(comment, "polygon " + std::to_string(i)), part);
    }
    lines.requireEnd(comment);
    return part;
}

} // namespace QELT::Inspection
