#include "apps/cscan/commandline/arguments.h"

#include "Inspection/records/numbers.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace cscan {

namespace {

[[noreturn]] void complain(std::string_view text, std::string const& complaint) {
    throw UsageError("'" + std::string(text) + "' " + complaint);
}

std::vector<std::string_view> partsOf(std::string_view text, std::string_view form) {
    auto const parts = splitAtCommas(text);
    if (parts.size() != splitAtCommas(form).size()) {
        complain(text, "is not of the form " + std::string(form));
    }
    return parts;
}

} // namespace

double numberIn(std::string_view text) {
    auto const number = parseNumber(text);
    if (!number) {
        complain(text, "is not a number");
    }
    return *number;
}

double positiveNumberIn(std::string_view text) {
    double const number = numberIn(text);
    if (!(number > 0.0)) {
        complain(text, "is not above zero");
    }
    return number;
}

double nonNegativeNumberIn(std::string_view text) {
    double const number = numberIn(text);
    if (number < 0.0) {
        complain(text, "is below zero");
    }
    return number;
}

double percentIn(std::string_view text) {
    constexpr double whole = 100.0;
    double const share = nonNegativeNumberIn(text);
    if (share > whole) {
        complain(text, "is more than 100 percent");
    }
    return share;
}

std::vector<double> numbersIn(std::string_view text, std::string_view form) {
    std::vector<double> numbers;
    for (std::string_view const part : partsOf(text, form)) {
        numbers.push_back(numberIn(part));
    }
    return numbers;
}

unsigned long wholeNumberIn(std::string_view text, unsigned long least, unsigned long greatest) {
    std::string_view const digits = trimmed(text);
    unsigned long number = 0;
    auto const result = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (digits.empty() || result.ptr != digits.data() + digits.size() ||
        result.ec == std::errc::invalid_argument) {
        complain(text, "is not a whole number");
    }
    if (result.ec != std::errc() || number < least || number > greatest) {
        complain(text, "is not between " + std::to_string(least) + " and " + std::to_string(greatest));
    }
    return number;
}

std::vector<int> wholeNumbersIn(std::string_view text, std::string_view form) {
    std::vector<int> numbers;
    for (std::string_view const part : partsOf(text, form)) {
        std::string_view const digits = trimmed(part);
        int number = 0;
        auto const result = std::from_chars(digits.data(), digits.data() + digits.size(), number);
        if (result.ec != std::errc() || result.ptr != digits.data() + digits.size()) {
            complain(part, "is not a whole number");
        }
        numbers.push_back(number);
    }
    return numbers;
}

Point pointIn(std::string_view text) {
    auto const numbers = numbersIn(text, "X,Y,Z");
    for (double const number : numbers) {
        if (std::abs(number) > std::numeric_limits<float>::max()) {
            complain(text, "lies too far out");
        }
    }
    return {numbers[0], numbers[1], numbers[2]};
}

Vector directionIn(std::string_view text) {
    auto const numbers = numbersIn(text, "X,Y,Z");
    Vector const direction(numbers[0], numbers[1], numbers[2]);
    if (!(direction.lSqr() > 0.0) || !std::isfinite(direction.lSqr())) {
        complain(text, "has no usable length");
    }
    return direction;
}

} // namespace cscan
