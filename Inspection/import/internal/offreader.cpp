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
            continue;
        }
        long long const corner = wholeIn(line, words[i]);
        if (corner < 0 || static_cast<std::size_t>(corner) >= part.points.size()) {
            line.fail("there is no point " + std::to_string(corner) + ", they are numbered from 0 to " +
                      std::to_string(part.points.size() - 1));
        }
        part.corners.push_back(static_cast<std::uint32_t>(corner));
    }
    std::string const fault = endPolygon(part);
    if (!fault.empty()) {
        line.fail(fault);
    }
}

} // namespace

PartAsRead readOff(PartSource const& source) {
    SourceLines lines(source);
    TextLine const first = lines.requireData(comment, "'OFF'");
    auto words = wordsOf(first.text);
    PointForm const form = formIn(first, words[0]);
    words.erase(words.begin());
    TextLine const counts = words.empty() ? lines.requireData(comment, "the counts") : first;
    if (words.empty()) {
        words = wordsOf(counts.text);
    }
    if (words.size() != 3) {
        counts.fail("3 counts expected, " + std::to_string(words.size()) + " found");
    }
    std::size_t const pointCount = countIn(counts, words[0]);
    std::size_t const polygonCount = countIn(counts, words[1]);
    countIn(counts, words[2]);
    requireRoom(counts, pointCount, 2 * form.minNumbers, lines.bytesLeft());
    requireRoom(counts, polygonCount, 8, lines.bytesLeft());
    if (pointCount == 0) {
        counts.fail("holds no points");
    }
    PartAsRead part;
    part.format = PartFormat::Off;
    part.points.reserve(pointCount);
    for (std::size_t i = 0; i < pointCount; ++i) {
        readPoint(lines.requireData(comment, "point " + std::to_string(i)), form, part);
    }
    for (std::size_t i = 0; i < polygonCount; ++i) {
        readPolygon(lines.requireData(comment, "polygon " + std::to_string(i)), part);
    }
    lines.requireEnd(comment);
    return part;
}

} // namespace QELT::Inspection
