#include "store/load/BmList.h"

#include <algorithm>

#include "store/load/ByteSort.h"
#include "support/Allocation.h"
#include "support/LoadPosition.h"
#include "support/Utils.h"

namespace STREAMENGINE_SPACE {

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
        throw QLT_SPACE::Exception(QLT_SPACE::Utils::formatString(
            "Malformed bm string at [%s:%d], sig too short than %d", LoadPosition::file(),
            LoadPosition::line(), static_cast<int>(kWindow)));
    }
    init();
    QLT_SPACE::allocateOr("Alloacate bm pattern fail", [&] { records.reserve(pattern); });
    // The block at i moves the window so that it becomes the last one. The nearest pattern decides.
    const uint8_t* sig = pattern.sig.data();
    for (uint32_t i = 0; i <= kLastBlock; ++i) {
        uint32_t& shift = bm_shift[blockHash(sig + i)];
        shift = std::min(shift, kLastBlock - i);
    }
    bm_suffix[blockHash(sig + kLastBlock)].pushFront(*records.keep(pattern));
}

void BmList::prepare() {
    for (VQPatternList& bucket : bm_suffix) {
        sortByByte(bucket.head, [](const VQPatternNode& node) {
            return static_cast<const BmPatternNode&>(node).pattern().sig[0];
        });
    }
}

void BmList::reset() {
    bm_suffix = std::vector<VQPatternList>();
    bm_shift = std::vector<uint32_t>();
    records.reset();
    maxPatternLength = 0;
}

}  // namespace STREAMENGINE_SPACE
