// AnchorTables: which units may be in a text, by the grams of their anchors.
//
// Wildcards are one symbol long, so each literal byte of a unit has a fixed place in it, and a gram
// found in the text gives the start of its unit. Each unit is entered under one anchor:
//
//   - Long anchors, of whole signatures alone. Of ten consecutive literal bytes the four grams of
//     seven bytes are entered. One of the four begins at a multiple of four, so it is enough to
//     probe every fourth position:
//
//       grams   abcdefg bcdefgh cdefghi defghij
//       text    .....abcdefghij....      "abcdefghij" begins at 5
//       probes  ^   ^   ^   ^   ^        the one at 8 finds "defghij"
//
//   - Wide anchors: of five consecutive literals two grams of four bytes, for every second
//     position. (Without shuffles two of three bytes, if there are rows of four.)
//   - Narrow anchors: four literals, one gram, for each position. Either all rows of a set are
//     entered here, because one of two grams would be found too often, or those that are too short
//     for wide anchors, if there are many.
//   - Shapes: what has no such row, few rows that are too short, and rows whose grams too many
//     units share.
//
// The last three lead to run units: all parts, because what counts of these tables changes with the
// stream, and in small sets everything, so that one table is probed instead of two. Positions are
// probed for the tables that a set needs.
#pragma once

#include <cstdint>
#include <vector>

#include "store/index/GramTable.h"
#include "store/index/RunTable.h"
#include "store/index/RunUnit.h"
#include "store/index/ShapeTable.h"

namespace STREAMENGINE_SPACE {

constexpr uint32_t kLongStride = 4;  // positions from one probe for long anchors to the next
constexpr uint32_t kWideStride = 2;  // likewise for wide anchors
constexpr uint32_t kLongGram = 7;    // bytes, as the following
constexpr uint32_t kWideGram = 4;
constexpr uint32_t kNarrowGram = 4;
constexpr uint32_t kPairGram = 2;

/// A gram of an anchor: whose it is, and how many bytes after the anchor's first gram it begins.
template <uint32_t kStride>
struct GramPlace {
    uint32_t value = 0;

    GramPlace() = default;
    explicit GramPlace(uint32_t packed) : value(packed) {}
    /// @param place  below kStride
    GramPlace(uint32_t unit, uint32_t place) : value(unit * kStride + place) {}

    uint32_t unit() const { return value / kStride; }
    uint32_t place() const { return value % kStride; }
};
using LongAnchorEntry = GramPlace<kLongStride>;  // unit() is the number of an IndexUnit
using RunAnchorEntry = GramPlace<kWideStride>;   // unit() is the number of a RunUnit

/// Built once, then read by any number of scanners.
struct AnchorTables {
    GramTable<LongAnchorEntry> longAnchors{kLongGram};
    RunTable wideAnchors{kWideGram};
    RunTable narrowAnchors{kNarrowGram};
    ShapeTable shapes;
    std::vector<RunUnit> runUnits;  // the parts first, by the number of the unit
    uint32_t reach = 0;  // bytes from a match's start to the furthest probe that can find it
};

}  // namespace STREAMENGINE_SPACE
