#include "apps/cscan/commandline/arguments.h"

#include "Inspection/records/numbers.h"
#include "apps/cscan/commands/commandline.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace cscan {

namespace {

[[noreturn]] void complain(std::string const& option, std::string_view text, std::string const& complaint) {
    throw UsageError(option + ": '" + std::string(text) + "' " + complaint);
}

std::vector<std::string_view> partsFor(std::string const& option, std::string_view text,
                                       std::string_view form) {
    std::vector<std::string_view> parts;
    std::string_view rest = text;
    for (auto comma = rest.find(','); comma != std::string_view::npos; comma = rest.find(',')) {
        parts.push_back(rest.substr(0, comma));
        rest.remove_prefix(comma + 1);
    }
    parts.push_back(rest);
    if (parts.size() != static_cast<std::size_t>(std::count(form.begin(), form.end(), ',')) + 1) {
        complain(option, text, "is not of the form " + std::string(form));
    }
    return parts;
}

} // namespace

double numberFor(std::string const& option, std::string_view text) {
    auto const number = parseNumber(text);
    if (!number) {
        complain(option, text, "is not a number");
    }
    return *number;
}

double positiveNumberFor(std::string const& option, std::string_view text) {
    double const number = numberFor(option, text);
    if (!(number > 0.0)) {
        complain(option, text, "is not above zero");
    }
    return number;
}

double nonNegativeNumberFor(std::string const& option, std::string_view text) {
    double const number = numberFor(option, text);
    if (number < 0.0) {
        complain(option, text, "is below zero");
    }
    return number;
}

std::vector<double> numbersFor(std::string const& option, std::string_view text, std::string_view form) {
    std::vector<double> numbers;
    for (std::string_view const part : partsFor(option, text, form)) {
        numbers.push_back(numberFor(option, part));
    }
    return numbers;
}

unsigned long wholeNumberFor(std::string const& option, std::string_view text, unsigned long least,
                             unsigned long greatest) {
    std::string_view const digits = trimmed(text);
    unsigned long number = 0;
    auto const result = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (digits.empty() || result.ptr != digits.data() + digits.size() ||
        result.ec == std::errc::invalid_argument) {
        complain(option, text, "is not a whole number");
    }
    if (result.ec != std::errc() || number < least || number > greatest) {
        complain(option, text,
                 "is not between " + std::to_string(least) + " and " + std::to_string(greatest));
    }
    return number;
}

std::vector<int> wholeNumbersFor(std::string const& option, std::string_view text, std::string_view form) {
    std::vector<int> numbers;
    for (std::string_view const part : partsFor(option, text, form)) {
        std::string_view const digits = trimmed(part);
        int number = 0;
        auto const result = std::from_chars(digits.data(), digits.data() + digits.size(), number);
        if (result.ec != std::errc() || result.ptr != digits.data() + digits.size()) {
            complain(option, part, "is not a whole number");
        }
        numbers.push_back(number);
    }
    return numbers;
}

Point pointFor(std::string const& option, std::string_view text) {
    auto const numbers = numbersFor(option, text, "X,Y,Z");
    for (double const number : numbers) {
        if (std::abs(number) > std::numeric_limits<float>::max()) {
            complain(option, text, "lies too far out");
        }
    }
    return {numbers[0], numbers[1], numbers[2]};
}

Vector directionFor(std::string const& option, std::string_view text) {
    auto const numbers = numbersFor(option, text, "X,Y,Z");
    Vector const direction(numbers[0], numbers[1], numbers[2]);
    if (!(direction.lSqr() > 0.0) || !std::isfinite(direction.lSqr())) {
        complain(option, text, "has no usable length");
    }
    return direction;
}

} // namespace cscan
