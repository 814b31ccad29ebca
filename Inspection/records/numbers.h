#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Numbers to and from text, the same in every locale.
namespace QELT::Inspection {

/// The finite number that is the whole of `text`, blanks around it and a plus sign allowed; nothing if it is
/// anything else.
std::optional<double> parseNumber(std::string_view text);

/// `text` without the blanks, tabs and carriage returns at its ends.
std::string_view trimmed(std::string_view text);

/// The shortest text that reads back as the same value.
std::string toExactText(double value);
std::string toExactText(float value);

/// Fixed notation with `decimals` digits behind the point; zero never carries a sign.
std::string toFixedText(double value, int decimals);

/// At most `digits` significant digits, with an exponent where that is shorter.
std::string toShortText(double value, int digits);

} // namespace QELT::Inspection
