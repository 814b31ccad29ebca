#pragma once

#include <ios>

namespace QELT {

/// A failure of a stream whose text is what was given and no more: the standard library's own appends that of
/// the error code. The text must be a literal.
class StreamFailure : public std::ios_base::failure {
public:
    explicit StreamFailure(char const* newText)
        : std::ios_base::failure(newText, std::io_errc::stream), text(newText) {}

    char const* what() const noexcept override { return text; }

private:
    char const* text;
};

} // namespace QELT
