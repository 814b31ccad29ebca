#include "Geometry/trimesh/files/internal/textscanner.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

bool getIsSpace(int c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool getIsDigit(int c) {
    return c >= '0' && c <= '9';
}

bool getIsHexadecimalDigit(int c) {
    return getIsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

int toLower(int c) {
    return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c;
}

/// Whether a number that is out of range of the floats is too large and not too small.
bool getIsLarge(std::string_view digits, bool isHexadecimal) {
    std::size_t const exponentPlace = std::min(digits.find(isHexadecimal ? 'p' : 'e'), digits.size());
    std::string_view const mantissa = digits.substr(0, exponentPlace);
    std::size_t const point = std::min(mantissa.find('.'), mantissa.size());
    std::size_t const first = mantissa.find_first_not_of("0.");
    if (first == std::string_view::npos) {
        return false;
    }
    auto const leadingPlace = static_cast<std::int64_t>(point) - static_cast<std::int64_t>(first);
    if (exponentPlace + 1 >= digits.size()) {
        return leadingPlace > 0;
    }
    std::string_view const exponentText = digits.substr(exponentPlace + 1);
    bool const isNegative = exponentText.front() == '-';
    std::size_t const signLength = isNegative || exponentText.front() == '+' ? 1 : 0;
    std::int64_t exponent = 0;
    auto const [end, error] = std::from_chars(exponentText.data() + signLength,
                                              exponentText.data() + exponentText.size(), exponent);
    if (error == std::errc::result_out_of_range) {
        return !isNegative;
    }
    constexpr std::int64_t farBeyondAnyText = std::numeric_limits<std::int64_t>::max() / 4;
    exponent = std::min(exponent, farBeyondAnyText);
    return leadingPlace * (isHexadecimal ? 4 : 1) + (isNegative ? -exponent : exponent) > 0;
}

/// The float nearest to the number at the start of `digits`; false if no number stands there.
bool toNumber(std::string const& digits, bool isHexadecimal, float& value) {
    auto const format = isHexadecimal ? std::chars_format::hex : std::chars_format::general;
    auto const [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, format);
    if (error == std::errc::invalid_argument) {
        value = 0.0F; // what stands before the x of a hexadecimal number without digits
        return isHexadecimal;
    }
    if (error == std::errc::result_out_of_range) {
        value = getIsLarge(digits, isHexadecimal) ? std::numeric_limits<float>::infinity() : 0.0F;
    }
    return true;
}

} // namespace

int TextScanner::get() {
    int const c = peek();
    if (c != endOfText) {
        ++position;
    }
    return c;
}

int TextScanner::peek() const {
    return position < text.size() ? static_cast<unsigned char>(text[position]) : endOfText;
}

int TextScanner::peekLower() const {
    return toLower(peek());
}

bool TextScanner::skipTo(char wanted) {
    std::size_t const found = text.find(wanted, position);
    position = found == std::string::npos ? text.size() : found + 1;
    return found != std::string::npos;
}

bool TextScanner::skipToPair(char before, char wanted) {
    std::size_t const found = text.find(std::string{before, wanted}, position);
    position = found == std::string::npos ? text.size() : found + 2;
    return found != std::string::npos;
}

int TextScanner::scan(std::span<float> values) {
    return scanAll(values);
}

int TextScanner::scan(std::span<std::int32_t> values) {
    return scanAll(values);
}

template <class Number>
int TextScanner::scanAll(std::span<Number> values) {
    int count = 0;
    for (Number& value : values) {
        while (getIsSpace(peek())) {
            ++position;
        }
        if (peek() == endOfText) {
            return count == 0 ? endOfText : count;
        }
        if (!scanOne(value)) {
            return count;
        }
        ++count;
    }
    return count;
}

bool TextScanner::scanOne(std::int32_t& value) {
    int const sign = peek();
    if (sign == '-' || sign == '+') {
        ++position;
    }
    if (!getIsDigit(peek())) {
        return false;
    }
    std::int64_t magnitude = 0;
    while (getIsDigit(peek())) {
        constexpr std::int64_t beyondRange = std::int64_t{1} << 32;
        magnitude = std::min(magnitude * 10 + (get() - '0'), beyondRange);
    }
    value = static_cast<std::int32_t>(std::clamp<std::int64_t>(sign == '-' ? -magnitude : magnitude,
                                                               std::numeric_limits<std::int32_t>::min(),
                                                               std::numeric_limits<std::int32_t>::max()));
    return true;
}

bool TextScanner::scanOne(float& value) {
    bool const isNegative = peek() == '-';
    if (isNegative || peek() == '+') {
        ++position;
    }
    if (peekLower() == 'n' || peekLower() == 'i') {
        return scanNotANumberOrInfinity(isNegative, value);
    }
    std::string digits;
    bool isHexadecimal = false;
    if (peek() == '0') {
        ++position;
        isHexadecimal = peekLower() == 'x';
        if (isHexadecimal) {
            ++position;
        } else {
            digits = "0";
        }
    }
    scanDigits(isHexadecimal, digits);
    if (digits.empty() || !toNumber(digits, isHexadecimal, value)) {
        return false;
    }
    value = isNegative ? -value : value;
    return true;
}

/// Takes the rest of a number: digits, one point, an exponent letter behind a digit and a sign right behind
/// it.
void TextScanner::scanDigits(bool isHexadecimal, std::string& digits) {
    char const exponentLetter = isHexadecimal ? 'p' : 'e';
    bool hasDigit = !digits.empty();
    bool hasPoint = false;
    bool hasExponent = false;
    for (int c = peek(); c != endOfText; c = peek()) {
        bool const isMantissaDigit =
            getIsDigit(c) || (!hasExponent && isHexadecimal && getIsHexadecimalDigit(c));
        bool const isExponentSign = hasExponent && digits.back() == exponentLetter && (c == '-' || c == '+');
        bool const isExponentLetter = hasDigit && !hasExponent && toLower(c) == exponentLetter;
        bool const isPoint = c == '.' && !hasPoint && !hasExponent;
        if (!isMantissaDigit && !isExponentSign && !isExponentLetter && !isPoint) {
            return;
        }
        hasDigit |= isMantissaDigit;
        hasExponent |= isExponentLetter;
        hasPoint |= isPoint;
        digits += isExponentLetter ? exponentLetter : static_cast<char>(c);
        ++position;
    }
}

bool TextScanner::scanNotANumberOrInfinity(bool isNegative, float& value) {
    if (peekLower() == 'n') {
        value = std::numeric_limits<float>::quiet_NaN();
        if (!scanWord("nan")) {
            return false;
        }
    } else {
        value = std::numeric_limits<float>::infinity();
        if (!scanWord("inf") || (peekLower() == 'i' && !scanWord("inity"))) {
            return false;
        }
    }
    value = isNegative ? -value : value;
    return true;
}

/// Takes a word in letters of any case. The character that breaks it off is taken as well.
bool TextScanner::scanWord(std::string_view word) {
    return std::all_of(word.begin(), word.end(), [this](char letter) { return toLower(get()) == letter; });
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
