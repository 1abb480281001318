// The tags whose elements the markup filter blanks out.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "zvkengine.h"

namespace STREAMENGINE_SPACE {

struct FilterTag {
    std::string_view opening, closing;
    uint8_t modeMask;  // the modes that filter it
};

inline constexpr std::array<FilterTag, 7> filterDelTag = {{
    {"<XXXX", "</XXXX", 0},  // no tag: bytes are lowered before they are compared with a name
    {"<applet", "</applet", ZVK_FILTER_OBJECTS},
    {"<embed", "</embed", ZVK_FILTER_OBJECTS},
    {"<plugin", "</plugin", ZVK_FILTER_OBJECTS},
    {"<object", "</object", ZVK_FILTER_OBJECTS},
    {"<script", "</script", ZVK_FILTER_SCRIPTS},
    {"<noscript", "</noscript", ZVK_FILTER_SCRIPTS},
}};

// A name's first letter, in either case, selects its tag; no two names share one.
inline constexpr auto quickFilterDelTag = [] {
    std::array<uint8_t, 256> tags{};
    for (size_t tag = 1; tag < filterDelTag.size(); ++tag) {
        const auto letter = static_cast<unsigned char>(filterDelTag[tag].opening[1]);
        tags[letter] = static_cast<uint8_t>(tag);
        tags[letter - 0x20U] = static_cast<uint8_t>(tag);
    }
    return tags;
}();

/// @return the index of the tag that a name with this first letter may be in this mode, or 0
inline uint8_t candidateTag(char letter, uint8_t mode) {
    const uint8_t tag = quickFilterDelTag[static_cast<unsigned char>(letter)];
    return (filterDelTag[tag].modeMask & mode) != 0 ? tag : uint8_t{0};
}

}  // namespace STREAMENGINE_SPACE
