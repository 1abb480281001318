#include "scan/plain/BmScanner.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "support/Log.h"

namespace STREAMENGINE_SPACE {
namespace {

constexpr const char* kUnit = "StreamScanner";

}  // namespace

const BmPattern* BmScanner::virusFound(const unsigned char* buf, unsigned int len,
                                       unsigned int base) {
    ZVK_DEBUG("BmScanner::virusFound, in_buf [%.*s], in_len[%x]",
              static_cast<int>(std::min<unsigned int>(len, INT_MAX)),
              reinterpret_cast<const char*>(buf), len);
    if (!bmList->hasTables() || len < BmList::kWindow) return nullptr;
    const uint32_t* shifts = bmList->bm_shift.data();
    // Wider than len: a step from just below 4 GiB must not come out at the front.
    for (uint64_t p = BmList::kLastBlock; p < len - (BmList::kBlock - 1);) {
        const uint16_t hash = blockHash(buf + p);
        if (shifts[hash] != 0) {
            p += shifts[hash];
            continue;
        }
        const auto start = static_cast<unsigned int>(p - BmList::kLastBlock);
        const BmPattern* found = searchBucket(bmList->bm_suffix[hash], buf, len, base, start);
        if (found != nullptr) return found;
        ++p;
    }
    return nullptr;
}

const BmPattern* BmScanner::searchBucket(const VQPatternList& bucket, const unsigned char* buf,
                                         unsigned int len, unsigned int base, unsigned int start) {
    for (const VQPatternNode* node = bucket.first(); node != nullptr; node = node->next) {
        const BmPattern& pattern = static_cast<const BmPatternNode*>(node)->pattern();
        if (pattern.sig[0] < buf[start]) continue;
        if (pattern.sig[0] > buf[start]) break;
        if (!verifyPattern(pattern, buf, len, start)) continue;
        matchPosition = buf + start + pattern.length;
        if (pattern.beginsAt(base + start)) return &pattern;
    }
    return nullptr;
}

bool BmScanner::verifyPattern(const BmPattern& pattern, const unsigned char* buf, unsigned int len,
                              unsigned int start) {
    const uint32_t length = pattern.length;
    // The last byte differs most often among patterns that share a head.
    return length <= len - start && pattern.sig[length - 1] == buf[start + length - 1] &&
           std::memcmp(pattern.sig.data(), buf + start, length) == 0;
}

}  // namespace STREAMENGINE_SPACE
