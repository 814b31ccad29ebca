#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// Reads characters and numbers from a text in memory with the meaning of the C library's `fgetc` and
/// `fscanf` in the C locale, whatever the locale of the process: the same characters are taken, also where a
/// number breaks off, and a decimal or hexadecimal number is rounded once, to float.
class TextScanner {
public:
    static constexpr int endOfText = -1;

    explicit TextScanner(std::string newText) : text(std::move(newText)) {}

    void rewind() { position = 0; }

    std::size_t getLength() const { return text.size(); }

    /// The next character as an unsigned value, or `endOfText`.
    int get();

    /// Skips up to and over the next `wanted`. False at the end of the text.
    bool skipTo(char wanted);

    /// Skips up to and over the next `wanted` that directly follows a `before`. The characters compared are
    /// those that this call takes, and `before` is never the one that an earlier call ended on.
    bool skipToPair(char before, char wanted);

    /// Reads numbers, each after optional white space, until one does not match. The result is how many were
    /// stored, or `endOfText` if the text ended before the first. Integers beyond 32 bits become the end of
    /// the range that they pass.
    int scan(std::span<float> values);
    int scan(std::span<std::int32_t> values);

private:
    template <class Number>
    int scanAll(std::span<Number> values);
    bool scanOne(float& value);
    bool scanOne(std::int32_t& value);
    bool scanWord(std::string_view word);
    bool scanNotANumberOrInfinity(bool isNegative, float& value);
    void scanDigits(bool isHexadecimal, std::string& digits);
    int peek() const;
    int peekLower() const;

    std::string text;
    std::size_t position = 0;
};

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
