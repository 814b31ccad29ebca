#pragma once

#include "Inspection/records/failure.h"
#include "apps/cscan/commandline/usageerror.h"
#include "apps/cscan/names.h"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

/// The values of options as the command line spells them. Each function throws a `UsageError` that quotes the
/// text and says what is wrong with it.
namespace cscan {

double numberIn(std::string_view text);
double positiveNumberIn(std::string_view text);
double nonNegativeNumberIn(std::string_view text);

/// From 0 to 100.
double percentIn(std::string_view text);

/// Numbers with commas between, as many as `form` names, such as "X,Y,Z".
std::vector<double> numbersIn(std::string_view text, std::string_view form);

/// A decimal number without a sign.
unsigned long wholeNumberIn(std::string_view text, unsigned long least = 0,
                            unsigned long greatest = std::numeric_limits<std::uint32_t>::max());

/// Whole numbers with commas between, negative ones too.
std::vector<int> wholeNumbersIn(std::string_view text, std::string_view form);

Point pointIn(std::string_view text);

/// A vector of a finite length above 0.
Vector directionIn(std::string_view text);

/// Reads whole numbers between two limits.
inline auto wholeNumberFrom(unsigned long least,
                            unsigned long greatest = std::numeric_limits<std::uint32_t>::max()) {
    return [least, greatest](std::string_view text) { return wholeNumberIn(text, least, greatest); };
}

/// Reads one of a few words, which the option lists with `words`.
template <class Value>
auto oneOf(std::map<std::string, Value> values) {
    return [values](std::string_view text) { return values.at(std::string(text)); };
}

/// Reads with a function of the library, whose complaint is one about the command line here.
template <class Read>
auto usage(Read read) {
    return [read](std::string_view text) {
        try {
            return read(text);
        } catch (QELT::Inspection::Failure const& failure) {
            throw UsageError(failure.what());
        }
    };
}

/// The validator that checks an option's text by reading it, with `read`, and keeps what was read in
/// `target`, at the end of it if that is a list. CLI11's own conversion of numbers follows the locale, so
/// options of numbers have this in place of a variable.
template <class Target, class Read>
CLI::Validator reading(Target& target, Read read) {
    auto const keep = [&target, read](std::string& text) -> std::string {
        try {
            if constexpr (requires { target.push_back(read(text)); }) {
                target.push_back(read(text));
            } else {
                target = read(text);
            }
        } catch (UsageError const& error) {
            return error.what();
        }
        return {};
    };
    return CLI::Validator(keep, "");
}

} // namespace cscan
