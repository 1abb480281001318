// AnchorTables: which units may be in a text, by the grams of their anchors.
//
// Wildcards are one symbol long, so each literal byte of a unit has a fixed place in it, and a gram
// found in the text gives the start of its unit. Each unit is entered under one anchor:
//
//   - Long anchors. Of ten consecutive literal bytes the four grams of seven bytes are entered. One
//     of the four begins at a multiple of four, so it is enough to probe every fourth position:
//
//       grams   abcdefg bcdefgh cdefghi defghij
//       text    .....abcdefghij....      "abcdefghij" begins at 5
//       probes  ^   ^   ^   ^   ^        the one at 8 finds "defghij"
//
//   - Short and crowded anchors: of units without ten literals in a row, and of units whose long
//     anchor too many others share. One filter holds two consecutive grams of each, one byte
//     narrower than the shortest of these rows, and is probed at every second position. Where it
//     accepts, the anchor may begin there or one byte before, and the wider grams of two tables are
//     looked up: of seven bytes (crowded anchors), or of the shortest row (short anchors).
//   - Pairs. A unit without four literals in a row is entered with two bytes. If there is one such
//     unit, each position of the text is probed.
#pragma once

#include <cstdint>

#include "store/index/GramTable.h"
#include "store/index/IndexUnit.h"

namespace STREAMENGINE_SPACE {

constexpr uint32_t kLongStride = 4;   // positions from one probe for long anchors to the next
constexpr uint32_t kShortStride = 2;  // likewise for short and crowded anchors
constexpr uint32_t kLongGram = 7;     // bytes, as the following
constexpr uint32_t kCrowdedGram = 7;
constexpr uint32_t kLeastShortGram = 4;
constexpr uint32_t kPairGram = 2;

/// A gram of a long anchor.
struct LongAnchorEntry {
    uint32_t unitAndPlace = 0;

    LongAnchorEntry() = default;
    /// @param place  how many bytes after the anchor's first gram this one begins, below
    ///               kLongStride
    LongAnchorEntry(uint32_t unit, uint32_t place) : unitAndPlace(unit * kLongStride + place) {}

    uint32_t unit() const { return unitAndPlace / kLongStride; }
    uint32_t place() const { return unitAndPlace % kLongStride; }
};

/// A gram of another anchor, with enough of its unit to reject most candidates.
struct AnchorEntry {
    uint32_t tail;  // up to four literal bytes that follow the gram, the first one lowest
    uint32_t tailLength : 3;
    uint32_t kindBits : 3;
    uint32_t unit : 26;

    UnitKind kind() const { return static_cast<UnitKind>(kindBits); }

    /// @param bytes  four bytes of the text, as tail
    /// @param count  how many of them are in the text
    bool tailFits(uint32_t bytes, uint32_t count) const {
        const uint32_t compared = count < tailLength ? count : tailLength;
        return ((bytes ^ tail) & ((uint64_t{1} << 8 * compared) - 1)) == 0;
    }
};
static_assert(sizeof(AnchorEntry) == 8);

/// Built once, then read by any number of scanners.
struct AnchorTables {
    GramTable<LongAnchorEntry> longAnchors{kLongGram};
    GramFilter shortAnchorFilter{kLeastShortGram};
    GramTable<AnchorEntry> shortAnchors;
    GramTable<AnchorEntry> crowdedAnchors{kCrowdedGram};
    GramTable<AnchorEntry> pairAnchors{kPairGram};
    uint32_t reach = 0;  // bytes from a match's start to the furthest probe that can find it
};

}  // namespace STREAMENGINE_SPACE
