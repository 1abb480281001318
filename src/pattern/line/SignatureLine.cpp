#include "pattern/line/SignatureLine.h"

#include <cstring>
#include <optional>
#include <string>

#include "pattern/line/CompoundPatternLoader.h"
#include "pattern/line/Md5Line.h"
#include "pattern/line/PatternType.h"
#include "pattern/line/SimplePatternLoader.h"
#include "store/PatternContainer.h"
#include "support/DecimalNumber.h"
#include "support/Exception.h"
#include "support/LoadPosition.h"
#include "support/Utils.h"

namespace STREAMENGINE_SPACE {
namespace {

using QLT_SPACE::Exception;
using QLT_SPACE::Utils;

constexpr size_t kLongestShortHex = 19;  // digits; the shift table needs 10 bytes

/// @return whether a signature has a gap, a wildcard or a group, which the shift table cannot hold
bool needsTrie(const char* hex) {
    return std::strpbrk(hex, "*{?(") != nullptr;
}

void addBasicLine(PatternContainer& container, const char* line, bool shortToTrie) {
    const char* equals = std::strchr(line, '=');
    if (equals == nullptr) {
        throw Exception(
            Utils::formatString("Malformed basic pattern line %d", LoadPosition::line()));
    }
    const char* hex = equals + 1;
    if (*hex == '\0' || *hex == '=') return;  // a name without a signature is accepted
    const std::string name(line, equals);
    if (needsTrie(hex) || (shortToTrie && std::strlen(hex) <= kLongestShortHex)) {
        CompoundPatternLoader::parse(container.trieTree, name.c_str(), hex, 0, nullptr, 0);
    } else {
        SimplePatternLoader::parse(container.bmList, name.c_str(), hex, nullptr, 0);
    }
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// Colons separate the fields, and several in a row count as one. A line with an empty field so
// lacks its fourth one and is refused. Fields after the fourth are not read.
void addExtendedLine(PatternContainer& container, const char* line) {
    const auto field = [line](int index) {
        auto text = Utils::strToK(line, index, ":");
        if (!text || (index == 1 && !isDigit(text->front()))) {
            throw Exception(
                Utils::formatString("Malformed extended pattern line %d", LoadPosition::line()));
        }
        return *text;
    };
    const std::string name = field(0);
    const auto targetType = static_cast<uint16_t>(QLT_SPACE::decimalInt64(field(1).c_str()));
    const std::string offsetText = field(2);
    const char* offset = offsetText == "*" ? nullptr : offsetText.c_str();
    const std::string hex = field(3);
    if (needsTrie(hex.c_str())) {
        CompoundPatternLoader::parse(container.trieTree, name.c_str(), hex.c_str(), 0, offset,
                                     targetType);
    } else {
        SimplePatternLoader::parse(container.bmList, name.c_str(), hex.c_str(), offset, targetType);
    }
}

}  // namespace

void addSignatureLine(PatternContainer& container, const char* line, int type, bool shortToTrie) {
    switch (type) {
        case PATTERN_MD5:
            addMd5Line(container.md5List, line);
            break;
        case PATTERN_BASIC:
            addBasicLine(container, line, shortToTrie);
            break;
        case PATTERN_EXTENDED:
            addExtendedLine(container, line);
            break;
        default:
            break;
    }
}

}  // namespace STREAMENGINE_SPACE
