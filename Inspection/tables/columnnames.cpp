#include "Inspection/tables/columnnames.h"

#include "Inspection/records/failure.h"
#include "Inspection/records/numbers.h"
#include "Inspection/tables/internal/fields.h"

#include <algorithm>
#include <charconv>

namespace QELT::Inspection {

namespace {

constexpr std::string_view notWanted = "-";

ColumnNaming::Entry entryIn(std::string_view text) {
    auto const sign = text.rfind('=');
    TableColumn const ours = columnOf(text.substr(0, sign));
    std::string const theirs(sign == std::string_view::npos ? std::string_view()
                                                            : trimmed(text.substr(sign + 1)));
    bool const isWhole = !ours.name.empty() && (sign == std::string_view::npos || !theirs.empty());
    require(isWhole, "'" + std::string(text) + "' does not name a column; write NAME=COLUMN");
    return {ours.name, ours.unit, theirs};
}

std::optional<std::size_t> numberedColumn(std::string const& text, std::size_t count) {
    std::size_t number = 0;
    auto const result = std::from_chars(text.data(), text.data() + text.size(), number);
    bool const isNumber = result.ec == std::errc() && result.ptr == text.data() + text.size();
    return isNumber && number >= 1 && number <= count ? std::optional(number - 1) : std::nullopt;
}

template <class Fits>
std::vector<std::size_t> columnsThat(std::vector<TableColumn> const& columns, Fits fits) {
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (fits(columns[i].name)) {
            found.push_back(i);
        }
    }
    return found;
}

/// As it is written, by its number, or with what is alike.
std::optional<std::size_t> columnToldBy(Table const& table, std::string const& told) {
    auto const& columns = table.getColumns();
    auto found = columnsThat(columns, [&](std::string const& name) { return name == told; });
    if (found.empty()) {
        if (auto const numbered = numberedColumn(told, columns.size())) {
            return numbered;
        }
        found = columnsThat(columns,
                            [&](std::string const& name) { return plainNameOf(name) == plainNameOf(told); });
    }
    require(found.size() <= 1,
            table.getName() + ": two columns are named '" + told + "'; tell the wanted one by its number");
    return found.empty() ? std::nullopt : std::optional(found.front());
}

/// What becomes of one column of the file.
struct Fate {
    std::optional<NamedColumn> told;
    bool isUnwanted = false;
};

void decide(std::vector<Fate>& fates, Table const& table, std::size_t index,
            ColumnNaming::Entry const& entry) {
    TableColumn const& column = table.getColumns()[index];
    Fate& fate = fates[index];
    require(!fate.told && !fate.isUnwanted,
            table.getName() + ": column '" + column.name + "' is told to be two things");
    if (entry.name == notWanted) {
        fate.isUnwanted = true;
    } else {
        fate.told =
            NamedColumn{entry.name, entry.unit.empty() ? column.unit : entry.unit, index, column.isText};
    }
}

/// A told column takes the name from one that the file calls so.
bool isNameTaken(std::vector<Fate> const& fates, std::string const& name) {
    return std::any_of(fates.begin(), fates.end(), [&](Fate const& fate) {
        return fate.told && plainNameOf(fate.told->name) == plainNameOf(name);
    });
}

} // namespace

ColumnNaming columnNamingIn(std::string_view text) {
    ColumnNaming naming;
    for (std::string_view const part : splitAtCommas(text)) {
        naming.entries.push_back(entryIn(trimmed(part)));
    }
    auto const isTold = [](ColumnNaming::Entry const& entry) { return !entry.column.empty(); };
    auto const told = std::count_if(naming.entries.begin(), naming.entries.end(), isTold);
    naming.isInOrder = told == 0;
    require(naming.isInOrder || told == static_cast<std::ptrdiff_t>(naming.entries.size()),
            "'" + std::string(text) +
                "' names some columns and counts others; write NAME=COLUMN for each, or names alone");
    return naming;
}

NamedColumns nameColumns(Table const& table, ColumnNaming const& naming) {
    auto const& columns = table.getColumns();
    NamedColumns result;
    std::vector<Fate> fates(columns.size());
    for (std::size_t i = 0; i < naming.entries.size(); ++i) {
        ColumnNaming::Entry const& entry = naming.entries[i];
        auto const index = naming.isInOrder ? (i < columns.size() ? std::optional(i) : std::nullopt)
                                            : columnToldBy(table, entry.column);
        if (index) {
            decide(fates, table, *index, entry);
        } else {
            result.missing.push_back(naming.isInOrder ? entry.name : entry.column);
        }
    }
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (fates[i].told) {
            result.columns.push_back(*fates[i].told);
        } else if (table.getHasHeading() && !fates[i].isUnwanted && !isNameTaken(fates, columns[i].name)) {
            result.columns.push_back({columns[i].name, columns[i].unit, i, columns[i].isText});
        } else {
            result.unused.push_back(columns[i].name);
        }
    }
    return result;
}

std::string plainNameOf(std::string_view name) {
    std::string plain;
    for (char const character : name) {
        if (std::string_view(" \t_-.").find(character) == std::string_view::npos) {
            bool const isCapital = character >= 'A' && character <= 'Z';
            plain += isCapital ? static_cast<char>(character - 'A' + 'a') : character;
        }
    }
    return plain;
}

std::optional<std::size_t> findColumn(std::vector<NamedColumn> const& columns,
                                      std::vector<std::string_view> const& names) {
    for (std::string_view const name : names) {
        std::optional<std::size_t> found;
        for (std::size_t i = 0; i < columns.size(); ++i) {
            if (plainNameOf(columns[i].name) == name) {
                require(!found, "two columns are named '" + columns[i].name + "'; tell which with --columns");
                found = i;
            }
        }
        if (found) {
            return found;
        }
    }
    return std::nullopt;
}

std::string listOf(std::vector<std::string> const& names) {
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i) {
        char const* const joint = i == 0 ? "" : i + 1 == names.size() ? " and " : ", ";
        text += joint + ("'" + names[i] + "'");
    }
    return text;
}

} // namespace QELT::Inspection
