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
    auto pattern = QLT_SPACE::makeUniqueOr<BmPattern>("Alloacate bm pattern fail");
    pattern->sig =
        QLT_SPACE::allocateOr("allocate mem fail", [hex] { return PatternParser::hex2str(hex); });
    pattern->length = static_cast<uint32_t>(pattern->sig.size());
    if (*name == '\0') {
        throw QLT_SPACE::Exception(QLT_SPACE::Utils::formatString(
            "Malformed bm string at [%s:%d]", PatternLoader::getPatternFileName(),
            PatternLoader::getLineNo()));
    }
    QLT_SPACE::allocateOr("Alloacate bmPattern->virName fail",
                          [&] { pattern->virName = EngUtil::scrambled(withoutOriginMark(name)); });
    if (offset != nullptr) pattern->offset = offset;
    pattern->targetType = targetType;
    list.maxPatternLength = std::max(list.maxPatternLength, pattern->length);
    list.addPattern(std::move(pattern));
}

}  // namespace STREAMENGINE_SPACE
