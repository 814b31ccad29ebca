#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace QELT::Inspection {

/// How deflated data is wrapped.
enum class DeflateForm { Zlib, Raw };

/// The bytes deflated, the same for the same bytes.
std::vector<std::byte> deflated(std::span<std::byte const> bytes, DeflateForm form);

/// Numbers as they lie in memory.
template <class Number>
std::span<std::byte const> bytesOf(std::vector<Number> const& numbers) {
    return std::as_bytes(std::span<Number const>(numbers));
}

} // namespace QELT::Inspection
