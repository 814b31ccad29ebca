#pragma once

#include "Inspection/names.h"

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

/// The values of options as the command line spells them. Each function throws a `UsageError` that names the
/// option and the text.
namespace cscan {

double numberFor(std::string const& option, std::string_view text);
double positiveNumberFor(std::string const& option, std::string_view text);
double nonNegativeNumberFor(std::string const& option, std::string_view text);

/// Numbers with commas between, as many as `form` names, such as "X,Y,Z".
std::vector<double> numbersFor(std::string const& option, std::string_view text, std::string_view form);

/// A decimal number without a sign.
unsigned long wholeNumberFor(std::string const& option, std::string_view text, unsigned long least = 0,
                             unsigned long greatest = std::numeric_limits<std::uint32_t>::max());

/// Whole numbers with commas between, negative ones too.
std::vector<int> wholeNumbersFor(std::string const& option, std::string_view text, std::string_view form);

Point pointFor(std::string const& option, std::string_view text);

/// A vector of a finite length above 0.
Vector directionFor(std::string const& option, std::string_view text);

} // namespace cscan
