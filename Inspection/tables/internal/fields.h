#pragma once

#include "Inspection/tables/table.h"

#include <string_view>

namespace QELT::Inspection {

/// What stands between fields; `Blanks` are any number of spaces and tabs.
enum class Separator : std::uint8_t { Comma, Semicolon, Tab, Blanks };

enum class DecimalMark : std::uint8_t { Open, Point, Comma };

constexpr std::string_view tableBlanks = " \t";

/// What the beginning of a table tells of how it is written.
Separator separatorOf(std::vector<std::string_view> const& lines);
DecimalMark decimalMarkOf(std::vector<std::string_view> const& lines, Separator separator);

/// The fields without blanks and marks of quotation around them.
std::vector<std::string_view> fieldsOf(std::string_view line, Separator separator);

/// Words in brackets are part of the name before them.
std::vector<std::string> headingFieldsOf(std::string_view line, Separator separator);

/// Empty, or a word that says that there is no value.
bool isMissing(std::string_view field);

/// A finite number with a decimal point or a decimal comma.
bool isNumber(std::string_view field);

/// Neither of both.
bool isText(std::string_view field);

bool isComment(std::string_view line);

/// Takes "tof [us]" and "tof (us)" apart.
TableColumn columnOf(std::string_view field);

/// Whether it names a unit known to this house, such as "mm", with or without brackets.
bool isUnit(std::string_view field);

} // namespace QELT::Inspection
