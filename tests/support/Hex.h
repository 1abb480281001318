// Hexadecimal text, as signature lines and digests are written.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// @return two digits in lower case for each byte
inline std::string toHex(std::string_view bytes) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string hex;
    for (const char c : bytes) {
        const auto byte = static_cast<uint8_t>(c);
        hex += {kDigits[byte >> 4], kDigits[byte & 15]};
    }
    return hex;
}

/// @param hex  pairs of digits, in either case
inline std::string fromHex(std::string_view hex) {
    std::string bytes;
    for (size_t i = 0; i + 1 < hex.size(); i += 2)
        bytes += static_cast<char>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16));
    return bytes;
}
