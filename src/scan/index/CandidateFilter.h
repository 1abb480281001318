// CandidateFilter: decides whether an anchor found in the text stands for a unit that has to be
// judged.
//
// The checks run from cheap to expensive: what the stream already knows of the unit, one byte of
// the text, the progress of its signatures, and at last the comparison with the record. Most
// candidates fail in consider(), which is inlined into the walk, before a record is read.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include "scan/index/FoundUnits.h"
#include "scan/index/SearchContext.h"
#include "scan/report/BodyMatch.h"

namespace STREAMENGINE_SPACE {

class CandidateFilter {
  public:
    /// Borrows what the context borrows, and the units.
    CandidateFilter(const SearchContext& searchContext, FoundUnits& units)
        : context(searchContext), found(units), undecided(searchContext.text.decidedTo) {
        const SearchText& text = context.text;
        // A unit that begins in the last `hidden` bytes may have its anchor after the text.
        const uint32_t hidden = context.index.anchors.reach + GramFilter::kReadLength;
        if (text.length > hidden) undecided = std::max(undecided, text.length - hidden);
    }

    /// @return whether what was found so far rules out that the unit matters here. The part before
    ///         it ends before it starts, so that part was considered earlier.
    bool isRuledOut(UnitKind kind, uint32_t unit) const {
        if (!hasState(kind) || context.offsetsWrap) return false;
        const UnitState state = context.states.of(unit);
        return state == UnitState::Done || (kind == UnitKind::Later && state == UnitState::Idle);
    }

    /// Adds the unit to what was found if it matches.
    /// @param gramInUnit  symbol of the unit at which the gram that was found begins
    /// @param gramInText  index in the text at which it begins
    [[gnu::always_inline]] void consider(uint32_t number, uint32_t gramInUnit,
                                         uint32_t gramInText) {
        const IndexUnit& unit = context.index.units[number];
        const SearchText& text = context.text;
        const uint32_t start = gramInText - gramInUnit;
        if (gramInUnit > gramInText || start < text.decidedTo || start > firstCertain) return;
        const uint32_t rest = text.length - start;
        if (unit.checkOffset < rest && text.bytes[start + unit.checkOffset] != unit.checkByte) {
            return;
        }
        compare(number, start);
    }

    /// @return index before which every match that begins was found
    uint32_t undecidedFrom() const { return undecided; }

    /// @return where the first plain string begins; above every index if none was found
    uint32_t stringStart() const { return firstString.start; }
    /// @return the first plain string, or no match
    BodyMatch stringMatch() const;

  private:
    void compare(uint32_t number, uint32_t start);
    bool sleeps(uint32_t number) const;
    void accept(uint32_t number, uint32_t start);
    void wakeNext(uint32_t number);

    const SearchContext context;
    FoundUnits& found;
    uint32_t undecided;
    // Where a signature of one part matches: nothing after it will be judged.
    uint32_t firstCertain = std::numeric_limits<uint32_t>::max();
    FoundUnit firstString{std::numeric_limits<uint32_t>::max(), kNoUnit};
};

}  // namespace STREAMENGINE_SPACE
