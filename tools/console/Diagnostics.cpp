#include "console/Diagnostics.h"

#include <fmt/format.h>

#include <cstdio>
#include <iterator>

namespace zvk {

namespace {

bool isControl(unsigned char byte) {
    return byte < 0x20 || byte == 0x7F;
}

// U+0080 to U+009F in UTF-8: some terminals read them as escape sequences.
bool isC1(std::string_view text, size_t i) {
    if (static_cast<unsigned char>(text[i]) != 0xC2 || i + 1 == text.size()) return false;
    const auto next = static_cast<unsigned char>(text[i + 1]);
    return next >= 0x80 && next <= 0x9F;
}

void appendByte(std::string& out, char c) {
    switch (c) {
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            fmt::format_to(std::back_inserter(out), "\\x{:02x}", static_cast<unsigned char>(c));
    }
}

}  // namespace

std::string printable(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        if (isC1(text, i)) {
            appendByte(out, text[i]);
            appendByte(out, text[++i]);
        } else if (isControl(static_cast<unsigned char>(text[i]))) {
            appendByte(out, text[i]);
        } else if (text[i] == '\\') {
            out += "\\\\";
        } else {
            out += text[i];
        }
    }
    return out;
}

void complain(std::string_view message) {
    const std::string line = "zvk: " + printable(message) + '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace zvk
