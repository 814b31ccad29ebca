#include "Inspection/records/numbers.h"

#include <array>
#include <charconv>
#include <cmath>
#include <system_error>

namespace QELT::Inspection {

namespace {

/// Enough for the largest double in fixed notation with a generous number of decimals.
constexpr std::size_t bufferSize = 512;

template <class... Arguments>
std::string written(Arguments... arguments) {
    std::array<char, bufferSize> buffer;
    auto const result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), arguments...);
    return std::string(buffer.data(), result.ptr);
}

} // namespace

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r";
    auto const first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::vector<std::string_view> splitAtCommas(std::string_view text) {
    std::vector<std::string_view> fields;
    for (auto comma = text.find(','); comma != std::string_view::npos; comma = text.find(',')) {
        fields.push_back(text.substr(0, comma));
        text.remove_prefix(comma + 1);
    }
    fields.push_back(text);
    return fields;
}

std::optional<double> parseNumber(std::string_view text) {
    std::string_view digits = trimmed(text);
    if (digits.size() > 1 && digits[0] == '+' && digits[1] != '-') {
        digits.remove_prefix(1);
    }
    double value = 0.0;
    auto const end = digits.data() + digits.size();
    auto const result = std::from_chars(digits.data(), end, value);
    if (result.ec != std::errc() || result.ptr != end || !std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

std::string toExactText(double value) {
    return written(value);
}

std::string toExactText(float value) {
    return written(value);
}

std::string toFixedText(double value, int decimals) {
    std::string text = written(value, std::chars_format::fixed, decimals);
    bool const isZero = text.find_first_not_of("-0.") == std::string::npos;
    return isZero && text[0] == '-' ? text.substr(1) : text;
}

std::string toShortText(double value, int digits) {
    return written(value, std::chars_format::general, digits);
}

} // namespace QELT::Inspection
