// Byte order: little-endian numbers in files and in hashed text, on hosts of either order.
#pragma once

#include <bit>
#include <concepts>
#include <cstdint>
#include <cstring>

namespace STREAMENGINE_SPACE {

/// @return value with its bytes in reverse order
template <std::unsigned_integral Number>
constexpr Number byteSwapped(Number value) {
    Number swapped = 0;
    for (size_t i = 0; i < sizeof value; ++i) {
        swapped = static_cast<Number>(swapped << 4 << 4 | (value & 0xFF));
        value = static_cast<Number>(value >> 4 >> 4);
    }
    return swapped;
}

/// Turns a number that was copied from little-endian bytes into the host's order, or back.
template <std::unsigned_integral Number>
constexpr Number fromLittleEndian(Number value) {
    if constexpr (std::endian::native == std::endian::little) return value;
    return byteSwapped(value);
}

/// @param bytes  sizeof(Number) readable bytes, lowest first; any alignment
template <std::unsigned_integral Number>
[[gnu::always_inline]] inline Number loadLittleEndian(const void* bytes) {
    Number value;
    std::memcpy(&value, bytes, sizeof value);
    return fromLittleEndian(value);
}

}  // namespace STREAMENGINE_SPACE
