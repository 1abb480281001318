#include "scan/plain/BmScanner.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "support/Log.h"

namespace STREAMENGINE_SPACE {
namespace {

constexpr const char* kUnit = "StreamScanner";

}  // namespace

// A window of 10 bytes slides over the text; p is where its last block of 3 bytes begins. The shift
// table gives by the hash of that block how far the window may jump without missing a pattern.
// Example: with the one pattern "abcdefghijk" a window that ends in "def" jumps by 4, so that "def"
// comes to lie where the pattern has it; a window that ends in a block that no pattern has jumps
// by 8. A shift of 0 means that patterns may begin at the window's start: they are compared one by
// one.
const BmPattern* BmScanner::virusFound(const SearchText& text) {
    ZVK_DEBUG("BmScanner::virusFound, in_buf [%.*s], in_len[%x]",
              static_cast<int>(std::min<uint32_t>(text.length, INT_MAX)),
              reinterpret_cast<const char*>(text.bytes), text.length);
    if (!bmList->hasTables() || text.length < BmList::kWindow) return nullptr;
    const uint32_t* shifts = bmList->bm_shift.data();
    // 64 bits: a jump from just below 4 GiB must not wrap to the front.
    for (uint64_t p = BmList::kLastBlock; p < text.length - (BmList::kBlock - 1);) {
        const uint16_t hash = blockHash(text.bytes + p);
        if (shifts[hash] != 0) {
            p += shifts[hash];
            continue;
        }
        const auto start = static_cast<uint32_t>(p - BmList::kLastBlock);
        const BmPattern* found = searchBucket(bmList->bm_suffix[hash], text, start);
        if (found != nullptr) return found;
        ++p;
    }
    return nullptr;
}

const BmPattern* BmScanner::searchBucket(const VQPatternList& bucket, const SearchText& text,
                                         uint32_t start) {
    // Buckets ascend by first byte.
    for (const VQPatternNode* node = bucket.first(); node != nullptr; node = node->next) {
        const BmPattern& pattern = static_cast<const BmPatternNode*>(node)->pattern();
        if (pattern.sig[0] < text.bytes[start]) continue;
        if (pattern.sig[0] > text.bytes[start]) break;
        if (!verifyPattern(pattern, text, start)) continue;
        matchPosition = start + pattern.length;
        if (pattern.beginsAt(text.offsetOf(start))) return &pattern;
    }
    return nullptr;
}

bool BmScanner::verifyPattern(const BmPattern& pattern, const SearchText& text, uint32_t start) {
    const uint32_t length = pattern.length;
    const uint8_t* const bytes = text.bytes + start;
    // The last byte differs most often among patterns that share a head.
    return length <= text.length - start && pattern.sig[length - 1] == bytes[length - 1] &&
           std::memcmp(pattern.sig.data(), bytes, length) == 0;
}

}  // namespace STREAMENGINE_SPACE
