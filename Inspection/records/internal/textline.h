#pragma once

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <span>
#include <string>
#include <string_view>

namespace QELT::Inspection {

/// A line of a text file with what is needed to complain about it.
struct TextLine {
    std::string const& source; ///< the file's name
    std::size_t number;        ///< from 1
    std::string_view text;

    /// Throws a `Failure` that names file and line.
    [[noreturn]] void fail(std::string const& complaint) const;
};

/// A word as failures show it: short, and printable.
std::string quoteOf(std::string_view word);

/// Hands each line to `visit`, without a byte order mark on the first one. A read error is a failure that
/// names `source`.
void forEachLine(std::istream& input, std::string const& source,
                 std::function<void(TextLine const&)> const& visit);

/// Fails unless the three numbers from `first` on can be kept as a point, in single precision.
void requirePointInReach(TextLine const& line, std::span<double const> numbers, std::size_t first,
                         std::string const& name);

} // namespace QELT::Inspection
