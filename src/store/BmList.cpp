#include "store/BmList.h"

#include <algorithm>

#include "pattern/SimplePatternLoader.h"
#include "pattern/ZVKPatternLoader.h"
#include "support/Allocation.h"
#include "support/Utils.h"

namespace STREAMENGINE_SPACE {

void BmList::addString(const char* name, const char* hexsig, const char* offset,
                       uint16_t targetType) {
    SimplePatternLoader::parse(*this, name, hexsig, offset, targetType);
    ++sigCount;
}

void BmList::init() {
    if (hasTables()) return;
    // The blanks at both ends of the text are part of it.
    QLT_SPACE::allocateOr(" allocate bm_shift&bm_suffix fail ", [this] {
        bm_shift.assign(kBlockHashes, kLargestShift);
        bm_suffix = std::vector<VQPatternList>(kBlockHashes);
    });
}

void BmList::addPattern(const BmPattern& pattern) {
    if (pattern.length < kWindow) {
        throw QLT_SPACE::Exception(
            QLT_SPACE::Utils::formatString("Malformed bm string at [%s:%d], sig too short than %d",
                                           PatternLoader::getPatternFileName(),
                                           PatternLoader::getLineNo(), static_cast<int>(kWindow)));
    }
    init();
    QLT_SPACE::allocateOr("Alloacate bm pattern fail", [&] { records.reserve(pattern); });
    const uint8_t* sig = pattern.sig.data();
    for (uint32_t i = 0; i <= kLastBlock; ++i) {
        uint32_t& shift = bm_shift[blockHash(sig + i)];
        shift = std::min(shift, kLastBlock - i);
    }
    const auto sortsBefore = [sig](const VQPatternNode& listed) {
        return static_cast<const BmPatternNode&>(listed).pattern().sig[0] < sig[0];
    };
    VQPatternNode** link = &bm_suffix[blockHash(sig + kLastBlock)].head;
    while (*link != nullptr && sortsBefore(**link)) link = &(*link)->next;
    VQPatternNode* node = records.keep(pattern);
    node->next = *link;
    *link = node;
}

void BmList::reset() {
    bm_suffix = std::vector<VQPatternList>();
    bm_shift = std::vector<uint32_t>();
    records.reset();
    maxPatternLength = 0;
}

}  // namespace STREAMENGINE_SPACE
