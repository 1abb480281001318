#include "pattern/line/SimplePatternLoader.h"

#include <algorithm>

#include "pattern/line/DetectionName.h"
#include "pattern/line/PatternParser.h"
#include "support/Allocation.h"
#include "support/LoadPosition.h"
#include "support/ScrambledName.h"
#include "support/Utils.h"

namespace STREAMENGINE_SPACE {

void SimplePatternLoader::parse(BmList& list, const char* name, const char* hex, const char* offset,
                                uint16_t targetType) {
    const std::vector<uint8_t> sig =
        QLT_SPACE::allocateOr("allocate mem fail", [hex] { return PatternParser::hex2str(hex); });
    if (*name == '\0') {
        throw QLT_SPACE::Exception(QLT_SPACE::Utils::formatString(
            "Malformed bm string at [%s:%d]", LoadPosition::file(), LoadPosition::line()));
    }
    const std::string virName = QLT_SPACE::allocateOr(
        "Alloacate bmPattern->virName fail", [&] { return scrambled(withoutOriginMark(name)); });
    BmPattern pattern;
    pattern.virName = virName.c_str();
    pattern.offset = offset;
    pattern.length = static_cast<uint32_t>(sig.size());
    pattern.targetType = targetType;
    pattern.sig = sig;
    list.maxPatternLength = std::max(list.maxPatternLength, pattern.length);
    list.addPattern(pattern);
    ++list.sigCount;
}

}  // namespace STREAMENGINE_SPACE
