// CandidateFilter: decides whether an anchor found in the text stands for a unit that matches, and
// what the match means.
//
// The checks run from cheap to expensive: whether the start can still matter, one byte or one
// window of the text, and at last the comparison with the record. Parts are handed to LiveParts at
// once. Of the signatures that are complete the first one by its start, then by its rank, is kept.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "scan/index/FoundStrings.h"
#include "scan/index/LiveParts.h"
#include "scan/text/SearchText.h"
#include "store/index/SignatureIndex.h"

namespace STREAMENGINE_SPACE {

/// A signature of the automaton that is complete; nothing after it counts.
struct Completion {
    static constexpr uint32_t kNowhere = std::numeric_limits<uint32_t>::max();

    uint32_t start = kNowhere;  // index in the text at which its last part begins
    uint32_t rank = kNoRank;
    const TriePattern* pattern = nullptr;  // its last part
};

class CandidateFilter {
  public:
    /// Borrows all for the search.
    /// @param parts  the stream's; null if the index has no parts or all of them are to be found
    /// @param found  the plain strings are added to it, and parts if there is nothing to accept
    /// them
    CandidateFilter(const SignatureIndex& searched, const SearchText& searchText, LiveParts* parts,
                    std::vector<FoundUnit>& found)
        : index(searched),
          text(searchText),
          live(parts),
          others(found),
          undecided(searchText.decidedTo) {
        // A unit that begins in the last `hidden` bytes may have its anchor after the text.
        const uint32_t hidden = index.anchors.reach + GramFilter::kReadLength;
        if (text.length > hidden) undecided = std::max(undecided, text.length - hidden);
    }

    /// @return whether an occurrence of the unit can change anything
    bool isAlive(uint32_t runUnit) const { return live == nullptr || live->isAlive(runUnit); }

    /// Takes the unit if it matches.
    /// @param gramInUnit  symbol of the unit at which the gram that was found begins
    /// @param gramInText  index in the text at which it begins
    [[gnu::always_inline]] void considerLong(uint32_t number, uint32_t gramInUnit,
                                             uint32_t gramInText) {
        const uint32_t start = gramInText - gramInUnit;
        if (gramInUnit > gramInText || !canMatter(start)) return;
        if (checkByteFits(index.units[number], start)) compare(number, start);
    }

    /// The same for a run unit, whose anchor's first gram is at an index of the text.
    [[gnu::always_inline]] void considerRun(uint32_t runUnit, uint32_t anchorInText) {
        const RunUnit& unit = index.anchors.runUnits[runUnit];
        const uint32_t start = anchorInText - unit.anchor;
        if (unit.anchor > anchorInText || !canMatter(start)) return;
        if (unit.length > text.length - start) {
            compare(unit.unit, start);
        } else if (windowFits(unit, text.bytes + start + unit.windowAt)) {
            if (unit.isWhole) {
                accept(unit.unit, start);
            } else if (checkByteFits(index.units[unit.unit], start)) {
                compare(unit.unit, start);
            }
        }
    }

    /// @param at  kWindow readable bytes
    /// @return whether they may be the window of the unit
    static bool windowFits(const RunUnit& unit, const uint8_t* at);

    /// @return index before which every match that begins was found
    uint32_t undecidedFrom() const { return undecided; }

    const Completion& completion() const { return completed; }

    /// @return whether a gram at this index may belong to a unit that still matters
    bool mayMatter(uint32_t gramInText) const { return gramInText <= lastGram; }

  private:
    bool canMatter(uint32_t start) const {
        return start >= text.decidedTo && start <= completed.start;
    }
    bool checkByteFits(const IndexUnit& unit, uint32_t start) const {
        return unit.checkOffset >= text.length - start ||
               text.bytes[start + unit.checkOffset] == unit.checkByte;
    }
    void compare(uint32_t number, uint32_t start);
    void accept(uint32_t number, uint32_t start);
    void acceptPart(uint32_t number, uint32_t start);
    void complete(const Completion& found);

    const SignatureIndex& index;
    const SearchText& text;
    LiveParts* const live;
    std::vector<FoundUnit>& others;
    uint32_t undecided;
    Completion completed;
    uint32_t lastGram = std::numeric_limits<uint32_t>::max();  // index of the last that may matter
};

}  // namespace STREAMENGINE_SPACE
