#include "Inspection/pages/internal/sections.h"

#include "Inspection/records/failure.h"

#include <zlib.h>

#include <algorithm>
#include <string_view>

namespace QELT::Inspection {

namespace {

constexpr std::string_view base64Digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::vector<std::uint8_t> deflated(std::vector<std::uint8_t> const& bytes) {
    uLongf size = compressBound(static_cast<uLong>(bytes.size()));
    std::vector<std::uint8_t> result(size);
    int const status = compress2(result.data(), &size, bytes.data(), static_cast<uLong>(bytes.size()),
                                 Z_DEFAULT_COMPRESSION);
    require(status == Z_OK, "the page's data could not be compressed: not enough memory");
    result.resize(size);
    return result;
}

} // namespace

std::string toBase64(std::vector<std::uint8_t> const& bytes) {
    constexpr std::size_t groupSize = 3;
    std::string text;
    text.reserve((bytes.size() + groupSize - 1) / groupSize * (groupSize + 1));
    for (std::size_t begin = 0; begin < bytes.size(); begin += groupSize) {
        std::size_t const count = std::min(groupSize, bytes.size() - begin);
        std::uint32_t group = 0;
        for (std::size_t i = 0; i < groupSize; ++i) {
            group = group << 8 | (i < count ? bytes[begin + i] : 0U);
        }
        for (std::size_t digit = 0; digit <= groupSize; ++digit) {
            text += digit <= count ? base64Digits[group >> (18 - 6 * digit) & 63U] : '=';
        }
    }
    return text;
}

std::size_t Sections::add(std::vector<std::uint8_t> const& bytes) {
    std::string text = toBase64(deflated(bytes));
    auto const known = std::find(texts.begin(), texts.end(), text);
    if (known == texts.end()) {
        texts.push_back(std::move(text));
        return texts.size() - 1;
    }
    return static_cast<std::size_t>(known - texts.begin());
}

} // namespace QELT::Inspection
