// IndexUnit: what the text is compared with.
//
// A unit is a single-part signature, or the content that parts of several multi-part signatures
// have in common: of 1,000 signatures that begin "<iframe" there is one unit for "<iframe".
#pragma once

#include <cstdint>

#include "store/record/VQPattern.h"

namespace STREAMENGINE_SPACE {

/// What a match of a unit means.
enum class UnitKind : uint8_t {
    Part,        // part of one or more multi-part signatures
    Single,      // a signature of the automaton that has one part
    PlainString  // of the shift table
};

constexpr uint32_t kNoUnit = 0xFFFFFFFF;
constexpr uint32_t kMostUnits = (1U << 30) - 1;  // what the tables can number
constexpr uint32_t kFurthestAnchor = (1U << 14) - 1;

struct IndexUnit {
    // A BmPattern if PlainString, else a TriePattern; of several parts any one.
    const VQPattern* pattern;
    uint32_t length;  // symbols
    uint32_t kindBits : 2;
    uint32_t anchor : 14;  // symbol at which the anchor's (first) gram begins
    // The last literal among the first 256 symbols, and its value. Most candidates of long
    // anchors fail here, before the record is read.
    uint32_t checkOffset : 8;
    uint32_t checkByte : 8;

    UnitKind kind() const { return static_cast<UnitKind>(kindBits); }
    const TriePattern& trie() const { return static_cast<const TriePattern&>(*pattern); }
    const BmPattern& bm() const { return static_cast<const BmPattern&>(*pattern); }
};
static_assert(sizeof(IndexUnit) <= 16);  // four in a cache line

}  // namespace STREAMENGINE_SPACE
