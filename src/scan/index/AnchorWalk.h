// AnchorWalk: goes over a text and hands every anchor that may be there to the candidate filter.
//
// The text is probed in blocks (AnchorProbe), which gives a bit for each probe that a filter
// accepted; the walk follows the set bits into the tables. Where a probe would read past the end of
// the text it probes by itself, one position after the other.
#pragma once

#include <cstdint>

#include "scan/digest/DigestFeed.h"
#include "scan/index/AnchorProbe.h"
#include "scan/index/CandidateFilter.h"

namespace STREAMENGINE_SPACE {

class AnchorWalk {
  public:
    static constexpr uint32_t kLongestStretch = 1024;  // bytes of one advance()

    /// Borrows all for the search.
    /// @param digestFeed  part of it may be digested on the way
    AnchorWalk(const SignatureIndex& searched, const SearchText& searchText,
               CandidateFilter& candidates, DigestFeed& digestFeed)
        : index(searched),
          anchors(searched.anchors),
          text(searchText),
          filter(candidates),
          feed(digestFeed) {}

    /// Searches from one index to another, at most kLongestStretch bytes.
    /// @param at    where the last call stopped, or where the search begins
    /// @param stop  a whole number of strides after at, or the end of the text
    void advance(uint32_t at, uint32_t stop);

  private:
    void followBits(ProbeBits bits, uint32_t at);
    void probeStride(uint32_t at);
    void probeNearEnd(uint32_t at);
    // Inlined: together a fifth fewer instructions on markup.
    [[gnu::always_inline]] inline void probeLong(uint32_t at);
    [[gnu::always_inline]] inline void probeShort(uint32_t at);
    [[gnu::always_inline]] inline void findLong(uint32_t at, uint64_t hash);
    [[gnu::always_inline]] inline void findShort(uint32_t at);
    [[gnu::always_inline]] inline void find(const GramTable<AnchorEntry>& table, uint32_t at);

    /// @return whether a gram of the table fits between an index and the end of the text
    bool hasRoom(const GramFilter& table, uint32_t at) const {
        return at < text.length && table.gramWidth() <= text.length - at;
    }

    const SignatureIndex& index;
    const AnchorTables& anchors;
    const SearchText& text;
    CandidateFilter& filter;
    DigestFeed& feed;
};

}  // namespace STREAMENGINE_SPACE
