#pragma once

#include <string_view>

/// The small bitmap letters of the pictures' labels.
namespace QELT::Inspection {

constexpr int glyphWidth = 5;
constexpr int glyphHeight = 9; ///< seven rows above the base line, two below
constexpr int glyphAdvance = 6;

/// The dots of one character, row by row from the top; a '#' is a dot.
struct Glyph {
    std::string_view dots;

    bool hasDot(int column, int row) const;
};

/// The glyph of a printable ASCII character; a hollow box stands for one that the font lacks.
Glyph glyphOf(char character);

/// Width of a text in pixels at a scale of 1, without the gap behind its last letter.
int widthOfText(std::string_view text);

} // namespace QELT::Inspection
