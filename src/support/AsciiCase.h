// The only case folding of the engine: A-Z, whatever the locale.
#pragma once

namespace QLT_SPACE {

constexpr char lowered(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 0x20) : c;
}

}  // namespace QLT_SPACE
