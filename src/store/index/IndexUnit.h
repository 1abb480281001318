// IndexUnit: what the text is compared with, and the numbers by which the tables of an index name
// it.
//
// A unit is a single-part signature, or the content that parts of several multi-part signatures
// have in common: of 1,000 signatures that begin "<iframe" there is one unit for "<iframe". Units
// are numbered in the order in which the loaded form tries them, the automaton's before the plain
// strings.
#pragma once

#include <cstdint>

#include "store/record/VQPattern.h"

namespace STREAMENGINE_SPACE {

/// What a unit is in its signatures. It decides what a match of the unit means.
enum class UnitKind : uint8_t {
    PlainString,  // of the shift table
    Single,       // a signature of one part
    OffsetFirst,  // the first part of a signature with an offset condition
    First,        // the first part, without an offset, of all signatures that begin with it
    Later,        // a later part of all signatures that have it
    LaterOfMany   // the same, where the part before it belongs to more signatures than can be woken
                  // one by one
};

/// @return whether the unit is part of multi-part signatures
constexpr bool isPart(UnitKind kind) {
    return kind != UnitKind::PlainString && kind != UnitKind::Single;
}

/// @return whether a match completes its signature if the offset condition of the record holds
constexpr bool isWholeSignature(UnitKind kind) {
    return !isPart(kind);
}

/// @return whether the unit's record may have an offset condition
constexpr bool mayHaveOffset(UnitKind kind) {
    return isWholeSignature(kind) || kind == UnitKind::OffsetFirst;
}

/// @return whether the unit is a part after the first
constexpr bool isLaterPart(UnitKind kind) {
    return kind == UnitKind::Later || kind == UnitKind::LaterOfMany;
}

/// @return whether a stream keeps a UnitState for units of this kind
constexpr bool hasState(UnitKind kind) {
    return kind == UnitKind::First || isLaterPart(kind);
}

constexpr uint32_t kNoUnit = 0xFFFFFFFF;
constexpr uint32_t kMostUnits = (1U << 26) - 1;  // what the tables can number

struct IndexUnit {
    const VQPattern*
        pattern;      // a BmPattern if PlainString, else a TriePattern; of several the newest
    uint32_t length;  // symbols
    UnitKind kind;
    uint8_t anchor;  // symbol at which the anchor's (first) gram begins
    // The last literal among the first kAnchorSpan symbols, and its value. Most candidates fail
    // here, before the record is read.
    uint8_t checkOffset;
    uint8_t checkByte;

    const TriePattern& trie() const { return static_cast<const TriePattern&>(*pattern); }
    const BmPattern& bm() const { return static_cast<const BmPattern&>(*pattern); }
};
static_assert(sizeof(IndexUnit) <= 16);  // four in a cache line

}  // namespace STREAMENGINE_SPACE
