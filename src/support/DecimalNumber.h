// Decimal text to numbers by the C library's rules: leading blanks and a sign are read, the text
// after the digits is ignored, no digits give 0. A number out of range gives the range's limit.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>

namespace QLT_SPACE {

inline int64_t decimalInt64(const char* text) {
    return std::strtoll(text, nullptr, 10);
}

inline int32_t decimalInt32(const char* text) {
    return static_cast<int32_t>(std::clamp<int64_t>(decimalInt64(text),
                                                    std::numeric_limits<int32_t>::min(),
                                                    std::numeric_limits<int32_t>::max()));
}

}  // namespace QLT_SPACE
