#pragma once

#include "Inspection/tables/table.h"

#include <string_view>

namespace QELT::Inspection {

/// What the user says of a table's columns.
struct ColumnNaming {
    /// What one column is.
    struct Entry {
        std::string name;   ///< ours, such as "ox"; "-" for a column that is not wanted
        std::string unit;   ///< in place of the file's, if it is not empty
        std::string column; ///< the file's name of it, or its number from 1; empty if all are in order
    };

    std::vector<Entry> entries;
    bool isInOrder = false; ///< the entries are the first columns of the file, one after the other
};

/// Reads "ox=X,oy=Y,amp[%FSH]=7", our names and the file's, or "ox,oy,oz,-,amp[%FSH]", the names of columns
/// in order.
QELT_INSPECTION_EXPORT ColumnNaming columnNamingIn(std::string_view text);

/// A column by the name that it goes by.
struct NamedColumn {
    std::string name;
    std::string unit;
    std::size_t index = 0; ///< in the file
    bool isText = false;
};

/// Which column is what.
struct NamedColumns {
    std::vector<NamedColumn> columns; ///< those that have names, in the file's order
    std::vector<std::string>
        unused; ///< as the file names them: not told and without a name of its own, or "-"
    std::vector<std::string> missing; ///< entries of the naming that the file has no column for
};

/// Names a table's columns. A name of the file counts before a number, and capitals, blanks, "_", "-" and "."
/// in names are alike where that leaves one. Fails if an entry fits two columns, or two entries fit one.
QELT_INSPECTION_EXPORT NamedColumns nameColumns(Table const& table, ColumnNaming const& naming);

/// The name without what is alike, in small letters: "Pos_X" becomes "posx".
QELT_INSPECTION_EXPORT std::string plainNameOf(std::string_view name);

/// The first of the names, which are plain, that a column goes by; nothing if none does. Fails if two columns
/// go by it.
QELT_INSPECTION_EXPORT std::optional<std::size_t> findColumn(std::vector<NamedColumn> const& columns,
                                                             std::vector<std::string_view> const& names);

/// "'a', 'b' and 'c'", for messages.
QELT_INSPECTION_EXPORT std::string listOf(std::vector<std::string> const& names);

} // namespace QELT::Inspection
