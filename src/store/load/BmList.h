// BmList: the plain byte strings of a container, in the tables of a multi-pattern shift search.
//
// The search is Wu and Manber's ("A fast algorithm for multi-pattern searching", TR-94-17,
// University of Arizona, 1994) with windows of 10 bytes and blocks of 3. bm_shift tells how far a
// window may jump by the hash of its last block; where that is 0, bm_suffix lists the patterns
// whose first 10 bytes may end there. A hash with a list always has shift 0.
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
    static constexpr uint32_t kLastBlock =
        kWindow - kBlock;  // where the window's last block begins
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
    // Likewise; newest first, and once prepared ascending by first byte, newest first.
    std::vector<VQPatternList> bm_suffix;

  private:
    RecordArena records;  // owns the nodes of bm_suffix and their patterns
};

}  // namespace STREAMENGINE_SPACE
