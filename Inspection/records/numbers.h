#pragma once

#include "Inspection/export.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Numbers to and from text, the same in every locale.
namespace QELT::Inspection {

/// The finite number that is the whole of `text`, blanks around it and a plus sign allowed; nothing if it is
/// anything else.
QELT_INSPECTION_EXPORT std::optional<double> parseNumber(std::string_view text);

/// `text` without the blanks, tabs and carriage returns at its ends.
QELT_INSPECTION_EXPORT std::string_view trimmed(std::string_view text);

/// What stands between the commas of a line: one field more than commas, empty ones too, with the blanks
/// around them. The fields are views into `text`.
QELT_INSPECTION_EXPORT std::vector<std::string_view> splitAtCommas(std::string_view text);

/// The shortest text that reads back as the same value.
QELT_INSPECTION_EXPORT std::string toExactText(double value);
QELT_INSPECTION_EXPORT std::string toExactText(float value);

/// Fixed notation with `decimals` digits behind the point; zero never carries a sign.
QELT_INSPECTION_EXPORT std::string toFixedText(double value, int decimals);

/// At most `digits` significant digits, with an exponent where that is shorter.
QELT_INSPECTION_EXPORT std::string toShortText(double value, int digits);

} // namespace QELT::Inspection
