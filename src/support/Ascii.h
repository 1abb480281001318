// Letter case and white space as the engine reads them: ASCII, whatever the locale.
#pragma once

namespace QLT_SPACE {

constexpr bool isSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

constexpr char lowered(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 0x20) : c;
}

}  // namespace QLT_SPACE
