#include "Inspection/tables/table.h"

#include "Inspection/records/failure.h"
#include "Inspection/records/internal/textline.h"
#include "Inspection/records/numbers.h"
#include "Inspection/tables/internal/fields.h"
#include "Inspection/tables/internal/linesource.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <numeric>

// How a table is written is settled by its first lines, as far as a block and a few hundred lines reach, so
// that a pipe can be read, too. The first line of data is a heading if it holds words and no number, or
// more words than numbers and one where the next line has a number; a comment before the data is one if it
// has as many words as these have fields. A line of known units below a heading belongs to it. "sep=;" in the
// first line is what spreadsheets write for each other, and is believed.
//
// A line is read by the fast way, which parses numbers where they stand and gives up at the first oddity: a
// quotation, a wrong number of fields, what is no number. Then the careful way splits the line and finds the
// cause. Decimal points and decimal commas in one file are a fault, for "1,234" may be either thousand or
// one; the first lines settle which, or the first number that shows it. One field more is allowed at the end
// of a line if it is empty. Behind "#" a line goes on with a comment unless it has all its fields with it.
//
// Cost: one pass, a block of memory; about 30 ns a field.

namespace QELT::Inspection {

namespace {

constexpr std::size_t sampleLines = 300;
constexpr std::size_t maxLeadingComments = 100;
constexpr double noValue = std::numeric_limits<double>::quiet_NaN();
constexpr std::size_t notChosen = std::numeric_limits<std::size_t>::max();

/// In place of a point where commas are decimal: part of no number.
constexpr char strangeSign = '\x01';

bool isBlank(char character) {
    return character == ' ' || character == '\t';
}

bool isData(std::string_view line) {
    return !trimmed(line).empty() && !isComment(trimmed(line));
}

/// A line of names: with words and no number, or with more words than numbers and one of them where the next
/// line has a number.
bool isHeading(std::string_view line, std::string_view next, Separator separator) {
    auto const fields = fieldsOf(line, separator);
    auto const words = std::count_if(fields.begin(), fields.end(), isText);
    auto const numbers = std::count_if(fields.begin(), fields.end(), isNumber);
    if (words <= numbers) {
        return false;
    }
    auto const below = fieldsOf(next, separator);
    bool isAboveNumber = numbers == 0;
    for (std::size_t i = 0; i < std::min(fields.size(), below.size()); ++i) {
        isAboveNumber = isAboveNumber || (isText(fields[i]) && isNumber(below[i]));
    }
    return isAboveNumber;
}

bool isLineOfUnits(std::string_view line, Separator separator) {
    auto const fields = fieldsOf(line, separator);
    auto const isFit = [](std::string_view field) { return field.empty() || isUnit(field); };
    auto const isWord = [](std::string_view field) { return !field.empty() && !isNumber(field); };
    return std::all_of(fields.begin(), fields.end(), isFit) &&
           std::any_of(fields.begin(), fields.end(), isWord) &&
           std::none_of(fields.begin(), fields.end(), [](std::string_view field) {
               return parseNumber(field).value_or(1.0) != 1.0; // 1 is the unit of plain numbers
           });
}

std::optional<Separator> toldSeparator(std::string_view line) {
    constexpr std::string_view mark = "sep=";
    std::string_view const text = line.ends_with(' ') ? trimmed(line) : line;
    if (!text.starts_with(mark) || text.size() != mark.size() + 1) {
        return std::nullopt;
    }
    switch (text.back()) {
    case ';':
        return Separator::Semicolon;
    case '\t':
        return Separator::Tab;
    case ',':
        return Separator::Comma;
    default:
        return std::nullopt;
    }
}

} // namespace

class Table::State {
public:
    explicit State(std::filesystem::path const& file) : lines(file) {
        recognise();
        readHeading();
        markTextColumns();
        std::vector<std::size_t> all(columns.size());
        std::iota(all.begin(), all.end(), std::size_t{0});
        choose(all);
    }

    void choose(std::vector<std::size_t> const& chosen) {
        slots.assign(columns.size(), notChosen);
        for (std::size_t i = 0; i < chosen.size(); ++i) {
            slots.at(chosen[i]) = i;
        }
        values.assign(chosen.size(), noValue);
    }

    bool next() {
        while (isFirstWaiting || lines.next()) {
            isFirstWaiting = false;
            std::string_view const text = lines.getText();
            std::string_view const start =
                text.substr(std::min(text.find_first_not_of(tableBlanks), text.size()));
            if (!start.empty() && !isComment(start)) {
                readRow(text);
                return true;
            }
        }
        return false;
    }

    LineSource lines;
    std::vector<TableColumn> columns;
    bool hasHeading = false;
    std::vector<double> values;
    std::vector<TableFault> faults;

private:
    Separator separator = Separator::Blanks;
    DecimalMark mark = DecimalMark::Open;
    std::vector<std::size_t> slots; ///< where in `values` a column goes, or `notChosen`
    bool isFirstWaiting = false;    ///< the source stands at a line of data that was not handed out
    std::string scratch;

    /// The lines of data that are next.
    std::vector<std::string_view> sample() const {
        auto found = lines.peek(sampleLines);
        std::erase_if(found, [](std::string_view line) { return !isData(line); });
        return found;
    }

    void recognise() {
        auto found = sample();
        if (found.empty()) {
            return;
        }
        auto const told = toldSeparator(found.front());
        if (told) {
            passOver(found.front());
            found.erase(found.begin());
        }
        separator = told ? *told : separatorOf(found);
        mark = decimalMarkOf(found, separator);
    }

    void passOver(std::string_view line) {
        while (lines.next() && lines.getText() != line) {
        }
    }

    /// To the first line of data, which waits.
    void readHeading() {
        std::vector<std::string> comments;
        while (lines.next()) {
            std::string_view const text = lines.getText();
            if (isData(text)) {
                takeFirst(text, comments);
                return;
            }
            if (!trimmed(text).empty() && comments.size() < maxLeadingComments) {
                comments.emplace_back(trimmed(text));
            }
        }
        lines.fail("holds no line of data");
    }

    void takeFirst(std::string_view text, std::vector<std::string> const& comments) {
        auto const below = sample();
        if (isHeading(text, below.empty() ? std::string_view() : below.front(), separator)) {
            takeNames(headingFieldsOf(text, separator));
            takeUnits();
            return;
        }
        isFirstWaiting = true;
        std::size_t const count = fieldsOf(text, separator).size();
        for (auto comment = comments.rbegin(); comment != comments.rend() && columns.empty(); ++comment) {
            takeComment(*comment, count);
        }
        for (std::size_t i = 0; columns.size() < count; ++i) {
            columns.push_back({"column " + std::to_string(i + 1), {}});
        }
    }

    void takeNames(std::vector<std::string> const& names) {
        hasHeading = true;
        for (std::string const& name : names) {
            columns.push_back(columnOf(name));
            if (columns.back().name.empty()) {
                columns.back().name = "column " + std::to_string(columns.size());
            }
        }
    }

    /// A comment with as many words as there are columns.
    void takeComment(std::string_view comment, std::size_t count) {
        std::string_view const text =
            comment.substr(std::min(comment.find_first_not_of("#/%"), comment.size()));
        auto const names = headingFieldsOf(text, separator);
        if (names.size() == count && isHeading(text, {}, separator)) {
            takeNames(names);
        }
    }

    void takeUnits() {
        auto const below = sample();
        bool const areUnitsTold = std::any_of(columns.begin(), columns.end(),
                                              [](TableColumn const& column) { return !column.unit.empty(); });
        if (below.empty() || areUnitsTold || !isLineOfUnits(below.front(), separator)) {
            return;
        }
        auto const units = fieldsOf(below.front(), separator);
        for (std::size_t i = 0; i < std::min(units.size(), columns.size()); ++i) {
            bool const isBracketed = units[i].starts_with('[') || units[i].starts_with('(');
            columns[i].unit = isBracketed ? units[i].substr(1, units[i].size() - 2) : units[i];
        }
        passOver(below.front());
    }

    void markTextColumns() {
        auto rows = sample();
        if (isFirstWaiting) {
            rows.insert(rows.begin(), lines.getText());
        }
        std::vector<std::size_t> numbers(columns.size());
        std::vector<std::size_t> words(columns.size());
        for (std::string_view const row : rows) {
            auto const fields = fieldsOf(row, separator);
            for (std::size_t i = 0; i < std::min(fields.size(), columns.size()); ++i) {
                numbers[i] += isNumber(fields[i]) ? 1U : 0U;
                words[i] += isText(fields[i]) ? 1U : 0U;
            }
        }
        for (std::size_t i = 0; i < columns.size(); ++i) {
            columns[i].isText = numbers[i] == 0 && words[i] > 0;
        }
    }

    void readRow(std::string_view text) {
        faults.clear();
        if (!readFast(text)) {
            readCarefully(text);
        }
    }

    bool readFast(std::string_view text) {
        if (mark == DecimalMark::Comma) {
            if (separator == Separator::Comma) {
                return false;
            }
            scratch = text;
            for (char& character : scratch) {
                character = character == '.' ? strangeSign : character == ',' ? '.' : character;
            }
            text = scratch;
        }
        bool const isDone = separator == Separator::Blanks ? readWords(text) : readSeparated(text);
        if (isDone && mark == DecimalMark::Open && text.find('.') != std::string_view::npos) {
            mark = DecimalMark::Point;
        }
        return isDone;
    }

    bool readWords(std::string_view text) {
        char const* at = text.data();
        char const* const end = at + text.size();
        for (std::size_t const slot : slots) {
            at = std::find_if_not(at, end, isBlank);
            if (at == end || *at == '"') {
                return false;
            }
            char const* const stop =
                slot == notChosen ? std::find_if(at, end, isBlank) : numberAt(at, end, slot);
            if (stop == nullptr || (stop != end && !isBlank(*stop))) {
                return false;
            }
            at = stop;
        }
        return std::all_of(at, end, isBlank);
    }

    bool readSeparated(std::string_view text) {
        char const sign = separator == Separator::Semicolon ? ';' : separator == Separator::Tab ? '\t' : ',';
        char const* at = text.data();
        char const* const end = at + text.size();
        for (std::size_t column = 0; column < slots.size(); ++column) {
            if (column > 0 && (at == end || *at++ != sign)) {
                return false;
            }
            while (at != end && *at == ' ') {
                ++at;
            }
            if (at != end && *at == '"') {
                return false;
            }
            at = fieldAt(at, end, sign, slots[column]);
            if (at == nullptr) {
                return false;
            }
        }
        return at == end || (*at == sign && std::all_of(at + 1, end, isBlank));
    }

    /// Where the field ends that begins here; null if it is no number and should be.
    char const* fieldAt(char const* at, char const* end, char sign, std::size_t slot) {
        if (slot == notChosen) {
            return std::find(at, end, sign);
        }
        if (at == end || *at == sign) {
            values[slot] = noValue;
            return at;
        }
        at = numberAt(at, end, slot);
        while (at != nullptr && at != end && *at != sign) {
            at = *at == ' ' ? at + 1 : nullptr;
        }
        return at;
    }

    char const* numberAt(char const* at, char const* end, std::size_t slot) {
        at += *at == '+' && end - at > 1 && at[1] != '-' ? 1 : 0;
        auto const result = std::from_chars(at, end, values[slot]);
        return result.ec == std::errc() && std::isfinite(values[slot]) ? result.ptr : nullptr;
    }

    void readCarefully(std::string_view text) {
        auto fields = fieldsOf(text, separator);
        auto const comment = text.find('#');
        bool const isComplete =
            countFits(fields) && std::none_of(fields.begin(), fields.end(), [](auto field) {
                return field.find('#') != std::string_view::npos;
            });
        if (!isComplete && comment != std::string_view::npos) {
            auto const withoutComment = fieldsOf(text.substr(0, comment), separator);
            fields = countFits(withoutComment) || !countFits(fields) ? withoutComment : fields;
        }
        std::fill(values.begin(), values.end(), noValue);
        if (!countFits(fields)) {
            faults.push_back({std::nullopt, std::to_string(columns.size()) + " fields expected, " +
                                                std::to_string(fields.size()) + " found"});
            return;
        }
        for (std::size_t i = 0; i < columns.size(); ++i) {
            if (slots[i] != notChosen) {
                readField(fields[i], i);
            }
        }
    }

    /// Some programs end each line with a separator.
    bool countFits(std::vector<std::string_view> const& fields) const {
        return fields.size() == columns.size() ||
               (fields.size() == columns.size() + 1 && fields.back().empty());
    }

    void readField(std::string_view field, std::size_t column) {
        if (isMissing(field)) {
            return;
        }
        auto const wrong = [&](std::string const& why) {
            faults.push_back(
                {slots[column], quoteOf(field) + " in column '" + columns[column].name + "' " + why});
        };
        std::string text(field);
        auto const comma = text.find(',');
        bool const hasPoint = text.find('.') != std::string::npos;
        if (!isNumber(field)) {
            wrong("is not a number");
        } else if (comma != std::string::npos && mark == DecimalMark::Point) {
            wrong("has a decimal comma, numbers before it have decimal points");
        } else if (hasPoint && mark == DecimalMark::Comma) {
            wrong("has a decimal point, numbers before it have decimal commas");
        } else {
            settleMark(comma != std::string::npos, hasPoint);
            text[comma != std::string::npos ? comma : 0] = comma != std::string::npos ? '.' : text[0];
            values[slots[column]] = *parseNumber(text);
        }
    }

    void settleMark(bool hasComma, bool hasPoint) {
        if (mark == DecimalMark::Open && (hasComma || hasPoint)) {
            mark = hasComma ? DecimalMark::Comma : DecimalMark::Point;
        }
    }
};

Table::Table(std::filesystem::path const& file) : state(std::make_unique<State>(file)) {}

Table::~Table() = default;
Table::Table(Table&&) noexcept = default;
Table& Table::operator=(Table&&) noexcept = default;

std::string const& Table::getName() const {
    return state->lines.getName();
}

std::vector<TableColumn> const& Table::getColumns() const {
    return state->columns;
}

bool Table::getHasHeading() const {
    return state->hasHeading;
}

void Table::choose(std::vector<std::size_t> const& columns) {
    state->choose(columns);
}

bool Table::next() {
    return state->next();
}

std::uint64_t Table::getLine() const {
    return state->lines.getNumber();
}

std::vector<double> const& Table::getValues() const {
    return state->values;
}

std::vector<TableFault> const& Table::getFaults() const {
    return state->faults;
}

void Table::fail(std::string const& cause) const {
    throw Failure(getName() + ", line " + std::to_string(getLine()) + ": " + cause);
}

double Table::getShareRead() const {
    return state->lines.getShareRead();
}

} // namespace QELT::Inspection
