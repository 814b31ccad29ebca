#pragma once

#include "Inspection/export.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// Tables of numbers as instruments, robots and spreadsheets write them.
namespace QELT::Inspection {

/// A column of a table as its heading tells it.
struct TableColumn {
    std::string name;    ///< such as "tof"; "column 3" where nothing names it
    std::string unit;    ///< such as "us" of "tof [us]"; empty if none is told
    bool isText = false; ///< among the first lines none holds a number there, and some hold something else
};

/// Why a line cannot be used, or one field of it.
struct TableFault {
    std::optional<std::size_t> field; ///< which of the chosen columns; nothing for the whole line
    std::string cause;                ///< such as "'abc' in column 'tof' is not a number"
};

/// A text file of numbers, read line by line in constant memory. What separates fields (comma, semicolon, tab
/// or blanks), whether commas are decimal and whether there is a heading is recognised from its beginning,
/// as the source tells at length. Lines that begin with "#", "//" or "%" are comments.
class QELT_INSPECTION_EXPORT Table {
public:
    /// Reads to the first line of data. Fails if the file cannot be read, is no text or holds no data.
    explicit Table(std::filesystem::path const& file);
    ~Table();
    Table(Table&&) noexcept;
    Table& operator=(Table&&) noexcept;

    std::string const& getName() const;
    std::vector<TableColumn> const& getColumns() const;

    /// Whether the file itself names its columns.
    bool getHasHeading() const;

    /// Which columns are read from now on, in this order. Without it, all.
    void choose(std::vector<std::size_t> const& columns);

    /// Goes to the next line of data; false behind the last. Fails if the file cannot be read to its end.
    bool next();

    std::uint64_t getLine() const;

    /// Of the chosen columns; NaN where a field is empty or at fault.
    std::vector<double> const& getValues() const;

    /// Empty for a line that is as it should be.
    std::vector<TableFault> const& getFaults() const;

    /// Throws a `Failure` that names the file, the line and the cause.
    [[noreturn]] void fail(std::string const& cause) const;

    /// How much of the file was read, from 0 to 1; 0 where its size is not known.
    double getShareRead() const;

private:
    class State;
    std::unique_ptr<State> state;
};

} // namespace QELT::Inspection
