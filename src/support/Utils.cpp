#include "support/Utils.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace QLT_SPACE {

std::string Utils::formatString(const char* format, ...) {
    std::array<char, kFormatRoom> text{};
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    return text.data();
}

std::optional<std::string> Utils::strToK(const char* text, int index, const char* delimiters) {
    const char* token = text;
    for (int passed = 0; passed < index; ++passed) token = skipToken(token, delimiters);
    const size_t length = std::strcspn(token, delimiters);
    if (length == 0) return std::nullopt;
    return std::string(token, length);
}

const char* Utils::skipToken(const char* text, const char* delimiters) {
    text += std::strcspn(text, delimiters);
    return text + std::strspn(text, delimiters);
}

}  // namespace QLT_SPACE
