// AnchorWalk: goes over a text and hands every anchor that may be there to the candidate filter.
//
// The text is probed in blocks (AnchorProbe), which gives a bit for each probe that a filter
// accepted; the walk follows the set bits into the tables. Those of run anchors are followed in the
// order of the text, because what is found may wake a unit: then the positions ahead that were
// probed already are searched for the grams of this unit.
#pragma once

#include <array>
#include <cstdint>

#include "scan/digest/DigestFeed.h"
#include "scan/index/AnchorProbe.h"
#include "scan/index/CandidateFilter.h"

namespace STREAMENGINE_SPACE {

class AnchorWalk {
  public:
    static constexpr uint32_t kLongestStretch = 512;  // bytes of one advance()

    /// Borrows all for the search.
    /// @param parts       null if the index has no parts
    /// @param digestFeed  part of it may be digested on the way
    AnchorWalk(const SignatureIndex& searched, const SearchText& searchText, LiveParts* parts,
               CandidateFilter& candidates, DigestFeed& digestFeed);

    /// Searches from one index to another, at most kLongestStretch bytes.
    /// @param at    where the last call stopped, or where the search begins
    /// @param stop  a whole number of blocks after at, or the end of the text
    void advance(uint32_t at, uint32_t stop);

  private:
    void cutAtEnd(ProbeMarks& marks, uint32_t at) const;
    template <class Action>
    void forEachLongMark(Action action) const;
    void followLong();
    void prefetchRuns(uint32_t block) const;
    void prefetchRunUnits(uint32_t block) const;
    void followRuns(uint32_t block, uint32_t at);
    [[gnu::always_inline]] inline void findRuns(const RunTable& table, RunAnchor kind, uint32_t at);
    [[gnu::always_inline]] inline RunTable::Around aroundGram(uint32_t at, uint32_t width) const;
    const uint8_t* lanesOf(const RunTable& table, RunAnchor kind) const;
    void ignoreIfIdle(const RunTable& table, RunAnchor kind, uint64_t hash);
    void findShapes(uint32_t at);
    void markAhead(uint32_t runUnit, uint32_t from);
    void markGram(const uint8_t* gram, uint32_t from, uint64_t ProbeMarks::*marks, uint64_t places);

    const SignatureIndex& index;
    const AnchorTables& anchors;
    const SearchText& text;
    LiveParts* const live;
    CandidateFilter& filter;
    DigestFeed& feed;
    ProbeFilters filters;
    std::array<ProbeMarks, kLongestStretch / kProbeBlock> bits;  // NOLINT: filled by advance()
    uint32_t stretchAt = 0;  // index of the first block of the stretch
    uint32_t stretchBlocks = 0;
};

}  // namespace STREAMENGINE_SPACE
