// BmList: the plain byte strings of a container, in the tables of a multi-pattern shift search.
//
// The search is Wu and Manber's ("A fast algorithm for multi-pattern searching", TR-94-17,
// University of Arizona, 1994) with windows of 10 bytes and blocks of 3.
//
// The idea: put a window of 10 bytes on the text and read only its last block, 3 bytes. If no
// pattern has this block among its first 10 bytes, none can begin where the window begins or at the
// 7 positions after that, and the window moves by 8. If a pattern has it, the window moves so that
// the two blocks meet. Only a block that is the last one of some pattern's first 10 bytes needs a
// comparison.
//
// Example: the pattern "searchword" has the blocks sea, ear, arc, rch, chw, hwo, wor, ord. Their
// shifts are 7, 6, 5, 4, 3, 2, 1, 0; that of all other blocks is 8. In "xxxxsearchword" the first
// window ends with "rch": shift 4. The next one ends with "ord": shift 0, the patterns that end so
// are compared.
//
// It is exact. bm_shift holds, by the block's hash, the least shift that any pattern asks for, so
// blocks that share a hash and patterns that share a block only make a window move less far. Where
// the shift is 0, bm_suffix lists all patterns whose first 10 bytes may end there, and these are
// compared in full. A hash with a list always has shift 0.
//
// With few patterns one block of every 8 bytes is read. Each pattern enters 8 blocks into a table
// of 65536, so with several thousand patterns most shifts are small.
//
// Built by one thread, then read by any number of scanners.
#pragma once

#include <cstdint>
#include <vector>

#include "store/load/BlockHash.h"
#include "store/record/RecordArena.h"

namespace STREAMENGINE_SPACE {

class BmList {
  public:
    static constexpr uint32_t kWindow = 10;  // bytes of each pattern that shape the tables
    static constexpr uint32_t kBlock = 3;
    /// Where the window's last block begins.
    static constexpr uint32_t kLastBlock = kWindow - kBlock;
    static constexpr uint32_t kLargestShift = kLastBlock + 1;

    /// Makes both tables unless they exist.
    /// @throws QLT_SPACE::Exception if memory runs out
    void init();

    /// Adds a copy of one pattern, what it borrows included.
    /// @throws QLT_SPACE::Exception for a pattern of fewer than kWindow bytes; if memory runs out
    void addPattern(const BmPattern& pattern);

    /// Sorts the buckets; has to follow the last addPattern().
    void prepare();

    /// Frees everything that was added; sigCount goes on from where it is.
    void reset();

    bool hasTables() const { return !bm_suffix.empty(); }

    int32_t sigCount = 0;            // signatures added
    uint32_t maxPatternLength = 0;   // longest pattern in bytes; also of one that was refused
    std::vector<uint32_t> bm_shift;  // kBlockHashes entries, or none
    // As many entries. Newest first; once prepared ascending by first byte, and of those with the
    // same first byte newest first.
    std::vector<VQPatternList> bm_suffix;

  private:
    RecordArena records;  // owns the nodes of bm_suffix and their patterns
};

}  // namespace STREAMENGINE_SPACE
