#pragma once

#include <cstdint>
#include <type_traits>

namespace QELT {

/// How a value of the interface type T is stored and computed with. `unsigned long` is an interface spelling
/// only: its width differs between platforms, so such values are kept in 32 bits everywhere. All other
/// types are stored as they are.
template <class T>
struct Element {
    /// What values of T are stored as.
    using Type = T;
};

/// Of 32 bits on every platform.
template <>
struct Element<unsigned long> {
    /// What they are stored as.
    using Type = std::uint32_t;
};

/// What values of T are stored as.
template <class T>
using ElementType = typename Element<T>::Type;

/// The 32 bits that are kept of a size or an index.
constexpr std::uint32_t toUInt32(unsigned long value) {
    return static_cast<std::uint32_t>(value);
}

/// Arithmetic of stored elements: integers wrap around modulo 2^32 without undefined behaviour, floating
/// numbers are computed as usual.
template <class E>
constexpr E wrappedSum(E a, E b) {
    if constexpr (std::is_integral_v<E>) {
        using U = std::make_unsigned_t<E>;
        return static_cast<E>(static_cast<U>(static_cast<U>(a) + static_cast<U>(b)));
    } else {
        return a + b;
    }
}

/// The difference, in the same arithmetic.
template <class E>
constexpr E wrappedDifference(E a, E b) {
    if constexpr (std::is_integral_v<E>) {
        using U = std::make_unsigned_t<E>;
        return static_cast<E>(static_cast<U>(static_cast<U>(a) - static_cast<U>(b)));
    } else {
        return a - b;
    }
}

/// The product, in the same arithmetic.
template <class E>
constexpr E wrappedProduct(E a, E b) {
    if constexpr (std::is_integral_v<E>) {
        using U = std::make_unsigned_t<E>;
        return static_cast<E>(static_cast<U>(static_cast<U>(a) * static_cast<U>(b)));
    } else {
        return a * b;
    }
}

/// 0 - a for integers, so that an unsigned value wraps; the sign change for floating numbers.
template <class E>
constexpr E wrappedNegative(E a) {
    if constexpr (std::is_integral_v<E>) {
        return wrappedDifference(E{0}, a);
    } else {
        return -a;
    }
}

/// The quotient, truncated towards zero for integers. The most negative integer divided by -1 wraps to
/// itself; a zero integer divisor is the caller's to avoid.
template <class E>
constexpr E wrappedQuotient(E a, E b) {
    if constexpr (std::is_integral_v<E> && std::is_signed_v<E>) {
        return b == E{-1} ? wrappedNegative(a) : static_cast<E>(a / b);
    } else {
        return a / b;
    }
}

} // namespace QELT
