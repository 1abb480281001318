#include "scan/index/UnitComparison.h"

#include <algorithm>
#include <cstring>

namespace STREAMENGINE_SPACE {
namespace {

bool symbolsMatch(const TriePattern& pattern, const uint8_t* text, uint32_t length) {
    size_t group = 0;
    for (uint32_t i = 0; i < length; ++i) {
        const Symbol symbol = pattern.symbols[i];
        if (symbol == kAnySymbol) continue;
        if (symbol == kGroupSymbol) {
            const ByteGroup& choices = pattern.groups[group++];
            if (std::find(choices.begin(), choices.end(), text[i]) == choices.end()) return false;
        } else if (symbol != text[i]) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool matchesAt(const IndexUnit& unit, const uint8_t* text, uint32_t length) {
    if (unit.kind() == UnitKind::PlainString) {
        // The last byte differs most often among patterns that share a head.
        const auto& sig = unit.bm().sig;
        return sig[length - 1] == text[length - 1] && std::memcmp(sig.data(), text, length) == 0;
    }
    const TriePattern& pattern = unit.trie();
    if (pattern.isWildcard) return symbolsMatch(pattern, text, length);
    return std::memcmp(pattern.sig.data(), text, length) == 0;
}

}  // namespace STREAMENGINE_SPACE
