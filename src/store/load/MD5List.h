// MD5List: the whole-stream digests of a container, in a hash table by their first three bytes.
//
// The tables are those of BmList: bm_suffix has a list for each hash, and bm_shift, whose entries
// are mostly 1, says without following a pointer that a list is empty.
//
// If a file states the number of its records, records and nodes come from pools; else one by one.
//
// Built by one thread, then read by any number of scanners.
#pragma once

#include <cstdint>
#include <deque>
#include <string_view>
#include <vector>

#include "store/load/BlockHash.h"
#include "store/record/SimplePool.h"
#include "store/record/VQPattern.h"
#include "support/Arena.h"

namespace STREAMENGINE_SPACE {

/// A record's place in its bucket.
struct MD5PatternNode {
    const MD5Pattern* pat = nullptr;  // borrowed from the list's records, as next is from its nodes
    MD5PatternNode* next = nullptr;
};

class MD5List {
  public:
    /// Makes both tables unless they exist.
    /// @throws QLT_SPACE::Exception if memory runs out
    void init();

    /// Prepares the pools for n more records; all records come from them from then on.
    /// @return false if n <= 0 or memory runs out; there is then no more room than before
    bool allocate(int n);

    /// @return an empty record, owned by the list; either addRecord() or dropRecord() has to follow
    /// @throws QLT_SPACE::Exception if the pool is used up or there is no memory
    MD5Pattern& newRecord();

    /// Enters the newest record, its digest and size filled in, under a copy of its name.
    /// @throws QLT_SPACE::Exception or std::bad_alloc with nothing entered
    void addRecord(MD5Pattern& record, std::string_view scrambledName);

    /// Discards the newest record. Its entry of a pool stays used.
    void dropRecord(MD5Pattern& record);

    /// Enters a record of this list into its bucket, before the older ones.
    /// @throws QLT_SPACE::Exception if the pool is used up or there is no memory
    void addPattern(const MD5Pattern* record);

    /// Sorts the buckets; has to follow the last addPattern().
    void prepare();

    /// Frees everything that was added.
    void reset();

    bool hasTables() const { return !bm_suffix.empty(); }
    bool isPooled() const { return usePool; }

    uint32_t largestSize = 0;        // bytes; a negative size is read as an unsigned number
    std::vector<uint32_t> bm_shift;  // kBlockHashes entries, or none; 1: the bucket is empty
    // As many entries. Newest first; once prepared ascending by first digest byte, and of those
    // with the same byte newest first.
    std::vector<MD5PatternNode*> bm_suffix;

  private:
    MD5PatternNode* newNode();

    SimplePool<MD5PatternNode> nodePool;
    SimplePool<MD5Pattern> patternPool;
    bool usePool = false;  // records and nodes come from the pools, not from the lists below
    std::deque<MD5PatternNode> ownNodes;
    std::deque<MD5Pattern> ownRecords;
    QLT_SPACE::Arena names;  // of all records
};

}  // namespace STREAMENGINE_SPACE
