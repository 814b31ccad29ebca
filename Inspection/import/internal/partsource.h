#pragma once

#include "Inspection/import/partfile.h"
#include "Inspection/records/internal/textline.h"

#include <optional>

namespace QELT::Inspection {

/// A file in memory with the name it has in failures.
struct PartSource {
    std::string const& name;
    std::string_view bytes;

    [[noreturn]] void fail(std::string const& complaint) const;
    [[noreturn]] void failAtByte(std::size_t byte, std::string const& complaint) const;
};

/// Stands for the sign of comments where a format has none.
constexpr char noComment = '\0';

/// The lines of a source from a byte on, numbered.
class SourceLines {
public:
    explicit SourceLines(PartSource const& file, std::size_t firstByte = 0, std::size_t linesBefore = 0);

    /// The next line without its end; nothing behind the last.
    std::optional<TextLine> next();

    /// The next line that holds more than blanks and a comment, which begins with `comment`, without that. A
    /// last line that is not ended fails: its last number may have lost digits.
    std::optional<TextLine> nextData(char comment);

    /// The same, which has to be there; `what` says what for.
    TextLine requireData(char comment, std::string const& what);

    /// Fails if there is another line of data.
    void requireEnd(char comment);

    std::size_t position() const { return place; }

    std::size_t bytesLeft() const { return source.bytes.size() - place; }

    std::size_t lineNumber() const { return number; }

    std::string const& nameOfSource() const { return source.name; }

private:
    bool isLastEnded() const;

    PartSource const& source;
    std::size_t place;
    std::size_t number;
};

/// What stands between blanks.
std::vector<std::string_view> wordsOf(std::string_view text);

/// "1 corner", "2 corners"
std::string counting(std::size_t count, std::string const& singular, std::string const& plural);

/// The finite number that the word is.
double finiteIn(TextLine const& line, std::string_view word);

/// Fails unless the word is a number of any kind, be it not finite.
void requireNumber(TextLine const& line, std::string_view word);

/// The whole number that the word is.
long long wholeIn(TextLine const& line, std::string_view word);

/// A count that is not negative and not more than the rest of a file can hold at `bytesEach` or more.
std::size_t countIn(TextLine const& line, std::string_view word);
void requireRoom(TextLine const& line, std::size_t count, std::size_t bytesEach, std::size_t bytesLeft);

/// The point that the three words from `first` on are.
std::array<double, 3> pointIn(TextLine const& line, std::vector<std::string_view> const& words,
                              std::size_t first);

/// Ends the polygon whose corners were added to the list; what is wrong with it is told, nothing if all is
/// well.
std::string endPolygon(PartAsRead& part);

/// The largest polygon taken: cutting one into triangles takes the square of it, here about a second.
constexpr std::size_t maxPolygonCorners = 20000;

/// The most points and corners, so that numbers of 32 bits reach all.
constexpr std::size_t maxPartPoints = 0xFFFFFFF0U;

} // namespace QELT::Inspection
