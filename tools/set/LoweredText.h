// LoweredText: the form in which keywords and texts are compared.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

#include "support/Ascii.h"

namespace zvk {

/// @return text with A to Z in lower case; all other bytes unchanged, as the engine does it
inline std::string loweredText(std::string_view text) {
    std::string lowered(text);
    std::transform(text.begin(), text.end(), lowered.begin(),
                   [](char c) { return QLT_SPACE::lowered(c); });
    return lowered;
}

}  // namespace zvk
