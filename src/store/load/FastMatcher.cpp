#include "store/load/FastMatcher.h"

#include <algorithm>
#include <cstring>

namespace STREAMENGINE_SPACE {

const void* FastMatcher::find(const unsigned char* text, unsigned int len) const {
    if (patterns == nullptr || count == 0) return nullptr;
    const int found = find_i(0, static_cast<int>(count) - 1, text, len);
    if (found < 0 || static_cast<unsigned int>(found) >= count) return nullptr;
    return patterns[found].value;
}

// A binary search with a comparison that calls an entry equal if the text begins with it. Example:
// in the table {"abc", "abx", "b"} the text "abcde" sorts before "abx", the middle entry, and
// begins with "abc".
//
// In a table where no entry begins with another one, at most one entry is a prefix of the text, and
// all entries before it sort below the text, all after it above: the search is exact. The tables of
// a TrieNode are such, see PatternLists::buildSamePrefixList(). It costs log2(entries) comparisons.
int FastMatcher::find_i(int lo, int hi, const unsigned char* text, unsigned int len) const {
    while (lo <= hi) {
        const int mid = lo + (hi - lo) / 2;
        const int order = cmp_sw(text, len, patterns[mid].bytes, patterns[mid].length);
        if (order == 0) return mid;
        if (order > 0) {
            lo = mid + 1;
        } else {
            hi = mid - 1;
        }
    }
    return ~lo;
}

int FastMatcher::cmp_sw(const unsigned char* text, unsigned int textLen, const unsigned char* pat,
                        unsigned int patLen) {
    const int order = std::memcmp(text, pat, std::min(textLen, patLen));
    if (order != 0) return order > 0 ? 1 : -1;
    return patLen > textLen ? -1 : 0;
}

}  // namespace STREAMENGINE_SPACE
