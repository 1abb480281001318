#include "pattern/SimplePatternLoader.h"

#include <algorithm>

#include "engine/ZVKUtil.h"
#include "pattern/DetectionName.h"
#include "pattern/ZVKPatternLoader.h"
#include "store/PatternParser.h"
#include "support/Allocation.h"
#include "support/Utils.h"

namespace STREAMENGINE_SPACE {

void SimplePatternLoader::parse(BmList& list, const char* name, const char* hex, const char* offset,
                                uint16_t targetType) {
    const std::vector<uint8_t> sig =
        QLT_SPACE::allocateOr("allocate mem fail", [hex] { return PatternParser::hex2str(hex); });
    if (*name == '\0') {
        throw QLT_SPACE::Exception(QLT_SPACE::Utils::formatString(
            "Malformed bm string at [%s:%d]", PatternLoader::getPatternFileName(),
            PatternLoader::getLineNo()));
    }
    const std::string virName = QLT_SPACE::allocateOr("Alloacate bmPattern->virName fail", [&] {
        return EngUtil::scrambled(withoutOriginMark(name));
    });
    BmPattern pattern;
    pattern.virName = virName.c_str();
    pattern.offset = offset;
    pattern.length = static_cast<uint32_t>(sig.size());
    pattern.targetType = targetType;
    pattern.sig = sig;
    list.maxPatternLength = std::max(list.maxPatternLength, pattern.length);
    list.addPattern(pattern);
}

}  // namespace STREAMENGINE_SPACE
