#include "pattern/line/PatternParser.h"

#include <string>

#include "support/Exception.h"
#include "support/LoadPosition.h"
#include "support/Utils.h"

namespace STREAMENGINE_SPACE {
namespace {

using QLT_SPACE::Exception;
using QLT_SPACE::Utils;

/// @return the digit's value, or -1
int digitValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

int byteValue(const char* pair) {
    const int high = PatternParser::hex2int(pair[0]);
    return high << 4 | PatternParser::hex2int(pair[1]);
}

/// A wildcard or a group takes two characters like a byte does, but only the first one is checked.
Symbol symbolValue(const char* pair) {
    if (pair[0] == '?') return kAnySymbol;
    if (pair[0] == '@') return kGroupSymbol;
    return static_cast<Symbol>(byteValue(pair));
}

}  // namespace

int PatternParser::hex2int(char c) {
    const int value = digitValue(c);
    if (value < 0) {
        throw Exception(Utils::formatString("Invalid hex string in [%s:%d]", LoadPosition::file(),
                                            LoadPosition::line()));
    }
    return value;
}

std::vector<uint8_t> PatternParser::hex2str(std::string_view hex) {
    if (hex.size() % 2 != 0) {
        throw Exception(Utils::formatString("Malformed signature at [%s:%d:%.*s]",
                                            LoadPosition::file(), LoadPosition::line(),
                                            static_cast<int>(hex.size()), hex.data()));
    }
    std::vector<uint8_t> bytes(hex.size() / 2);
    for (size_t i = 0; i < bytes.size(); ++i) {
        const char* pair = hex.data() + 2 * i;
        bytes[i] = static_cast<uint8_t>(pair[0] == '?' ? kAnySymbol & 0xFF : byteValue(pair));
    }
    return bytes;
}

std::vector<Symbol> PatternParser::hex2si(std::string_view hex) {
    if (hex.size() % 2 != 0) {
        throw Exception(Utils::formatString(
            "Malformed signature at [%s:%d:L%d::%.*s]", LoadPosition::file(), LoadPosition::line(),
            static_cast<int>(hex.size()), static_cast<int>(hex.size()), hex.data()));
    }
    std::vector<Symbol> symbols(hex.size() / 2);
    for (size_t i = 0; i < symbols.size(); ++i) symbols[i] = symbolValue(hex.data() + 2 * i);
    return symbols;
}

void PatternParser::hex2str(std::string_view hex, uint8_t* out, unsigned int length) {
    if (length % 2 != 0) {
        throw Exception(Utils::formatString("in PatternParser::hex2str, length = [%d]",
                                            static_cast<int>(length)));
    }
    if (hex.size() != length) {
        throw Exception(Utils::formatString(
            "Malformed signature at [%s:%d], [%.*s] length is not %d", LoadPosition::file(),
            LoadPosition::line(), static_cast<int>(hex.size()), hex.data(),
            static_cast<int>(length)));
    }
    for (size_t i = 0; i < length / 2; ++i) {
        const int high = digitValue(hex[2 * i]);
        const int low = digitValue(hex[2 * i + 1]);
        if (high < 0 || low < 0) {
            throw Exception(Utils::formatString("Malformed [%.*s] in chk-sum string at [%s:%d].",
                                                static_cast<int>(hex.size()), hex.data(),
                                                LoadPosition::file(), LoadPosition::line()));
        }
        out[i] = static_cast<uint8_t>(high << 4 | low);
    }
}

}  // namespace STREAMENGINE_SPACE
