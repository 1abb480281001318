// White space and case as the road of a chunk reads them: ASCII, whatever the locale.
#pragma once

namespace STREAMENGINE_SPACE {

constexpr bool isSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

constexpr char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 0x20) : c;
}

}  // namespace STREAMENGINE_SPACE
