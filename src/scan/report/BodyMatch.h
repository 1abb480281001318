// BodyMatch: a body signature that a search found complete.
#pragma once

#include <cstdint>

#include "store/record/VQPattern.h"

namespace STREAMENGINE_SPACE {

struct BodyMatch {
    const VQPattern* pattern = nullptr;  // of a multi-part signature its last part; null: no match
    bool isTrie = false;                 // a TriePattern, else a BmPattern
    uint32_t end = 0;                    // index in the text of the first byte after the match

    explicit operator bool() const { return pattern != nullptr; }
    const TriePattern& trie() const { return static_cast<const TriePattern&>(*pattern); }
    const BmPattern& bm() const { return static_cast<const BmPattern&>(*pattern); }
};

}  // namespace STREAMENGINE_SPACE
