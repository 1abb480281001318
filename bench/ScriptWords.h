// ScriptWords: the invented words of malicious script, normalised.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "testing/Random.h"

namespace ScriptWords {

constexpr std::string_view kDigits = "0123456789", kHex = "0123456789abcdef",
                           kLetters = "abcdefghijklmnopqrstuvwxyz",
                           kWord = "abcdefghijklmnopqrstuvwxyz0123456789_",
                           kBase64 = "abcdefghijklmnopqrstuvwxyz0123456789+/";

inline std::string name(Random& random) {
    return random.text(kLetters, 1) + random.text(kWord, random.between(2, 9));
}

/// @return a host and a path, without a scheme
inline std::string address(Random& random) {
    constexpr std::array<std::string_view, 4> kEnds = {".cn/", ".info/", ".biz/", ".ru/"};
    return random.text(kWord, random.between(4, 12)) + std::string(random.pick(kEnds)) +
           random.text(kWord, 5);
}

}  // namespace ScriptWords
