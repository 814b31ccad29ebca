#pragma once

#include "Inspection/pages/internal/arraycoding.h"
#include "Inspection/pages/internal/sections.h"

#include <nlohmann/json.hpp>
#include <zlib.h>

#include <bit>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

/// What the page's reader does, from the definition of the coding.
namespace QELT::Inspection::Testing {

inline std::vector<std::uint32_t> decoded(CodedNumbers const& coded, std::size_t width,
                                          std::vector<std::uint8_t> const& isPresent) {
    std::size_t const count = coded.planeCount == 0 ? 0 : coded.bytes.size() / coded.planeCount;
    std::vector<std::uint32_t> numbers(isPresent.size(), 0);
    std::size_t next = 0;
    std::uint32_t last = 0;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        if (isPresent[i] == 0) {
            continue;
        }
        std::uint32_t rest = 0;
        for (std::size_t plane = 0; plane < coded.planeCount; ++plane) {
            rest += static_cast<std::uint32_t>(coded.bytes[plane * count + next]) << 8U * plane;
        }
        ++next;
        bool const hasLeft = i % width > 0 && isPresent[i - 1] != 0;
        bool const hasLower = i >= width && isPresent[i - width] != 0;
        std::uint32_t prediction = last;
        if (hasLeft && hasLower && isPresent[i - width - 1] != 0) {
            prediction = numbers[i - 1] + numbers[i - width] - numbers[i - width - 1];
        } else if (hasLeft || hasLower) {
            prediction = hasLeft ? numbers[i - 1] : numbers[i - width];
        }
        std::uint32_t const half = rest / 2;
        last = rest % 2 == 0 ? prediction + half : prediction - half - 1;
        numbers[i] = last;
    }
    return numbers;
}

inline std::vector<std::uint8_t> fromBase64(std::string const& text) {
    static std::string const digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::vector<std::uint8_t> bytes;
    std::uint32_t group = 0;
    std::uint32_t bits = 0;
    for (char const digit : text.substr(0, text.find('='))) {
        group = (group << 6U | static_cast<std::uint32_t>(digits.find(digit))) & 0xFFFFFFU;
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            bytes.push_back(static_cast<std::uint8_t>(group >> bits));
        }
    }
    return bytes;
}

inline std::vector<std::uint8_t> bytesOf(Sections const& sections, std::size_t number) {
    auto const packed = fromBase64(sections.getTexts().at(number));
    z_stream stream{};
    if (inflateInit(&stream) != Z_OK) {
        throw std::runtime_error("no memory to inflate");
    }
    stream.next_in = const_cast<Bytef*>(packed.data());
    stream.avail_in = static_cast<uInt>(packed.size());
    std::vector<std::uint8_t> bytes;
    int status = Z_OK;
    while (status == Z_OK) {
        std::vector<std::uint8_t> chunk(65536);
        stream.next_out = chunk.data();
        stream.avail_out = static_cast<uInt>(chunk.size());
        status = inflate(&stream, Z_NO_FLUSH);
        bytes.insert(bytes.end(), chunk.begin(), chunk.end() - stream.avail_out);
    }
    inflateEnd(&stream);
    if (status != Z_STREAM_END) {
        throw std::runtime_error("the section is damaged");
    }
    return bytes;
}

inline std::vector<std::uint8_t> maskOf(nlohmann::ordered_json const& json, Sections const& sections) {
    auto const size = json.at("size").get<std::size_t>();
    return json.contains("mask") ? bytesOf(sections, json.at("mask").get<std::size_t>())
                                 : std::vector<std::uint8_t>(size, 1);
}

inline std::vector<std::uint32_t> numbersOf(nlohmann::ordered_json const& json, Sections const& sections) {
    CodedNumbers const coded{json.at("planes").get<std::size_t>(),
                             bytesOf(sections, json.at("section").get<std::size_t>())};
    return decoded(coded, json.at("width").get<std::size_t>(), maskOf(json, sections));
}

/// NaN where there is none.
inline std::vector<double> realsOf(nlohmann::ordered_json const& json, Sections const& sections) {
    auto const numbers = numbersOf(json, sections);
    auto const mask = maskOf(json, sections);
    std::vector<double> reals(numbers.size(), std::numeric_limits<double>::quiet_NaN());
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        if (mask[i] == 0) {
            continue;
        }
        reals[i] = json.contains("isFloat") ? static_cast<double>(std::bit_cast<float>(numbers[i]))
                   : json.contains("table")
                       ? json.at("table").at(numbers[i]).get<double>()
                       : json.at("low").get<double>() + json.at("step").get<double>() * numbers[i];
    }
    return reals;
}

} // namespace QELT::Inspection::Testing
