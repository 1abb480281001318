// GramTable: which patterns have a given run of bytes, a gram, at a given place.
//
// All grams of a table have one width, 2 to 8 bytes. A position of the text is first held against
// a filter that seldom lets through what is not in the table (a Bloom filter, CACM 13(7), 1970, of
// which both bits lie in one word: Putze, Sanders and Singler, WEA 2007); only then is the bucket
// of its hash read.
//
// Built once, then read by any number of scanners.
#pragma once

#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

namespace STREAMENGINE_SPACE {

class GramTable {
  public:
    static constexpr uint32_t kReadLength = 8;  // bytes that hash() reads, whatever the width

    /// One gram on the way into the table.
    struct Gram {
        uint64_t hash;   // by hash() of this table
        uint32_t value;  // what bucket() gives for it
    };

    explicit GramTable(uint32_t gramWidth = kReadLength) : width(gramWidth) {}

    /// Fills an empty table.
    /// @throws std::bad_alloc
    void build(const std::vector<Gram>& grams);

    bool empty() const { return values.empty(); }

    /// @return the hash of the gram at `at`, of which kReadLength bytes have to be readable
    uint64_t hash(const uint8_t* at) const {
        // The first byte is the lowest: the shift drops those behind the gram.
        uint64_t word = 0;
        std::memcpy(&word, at, sizeof word);
        return (word << (64 - 8 * width)) * 0x9E3779B97F4A7C15U;
    }

    /// @return false if no gram of the table has this hash
    bool mayHold(uint64_t hash) const {
        const uint64_t word = filter[hash >> filterShift];
        return ((word >> (hash >> 41 & 63)) & (word >> (hash >> 35 & 63)) & 1) != 0;
    }

    /// @return the values of all grams whose hash may be this one; only of a table that is not
    /// empty
    std::span<const uint32_t> bucket(uint64_t hash) const {
        const uint32_t* const first = starts.data() + (hash >> bucketShift);
        return {values.data() + first[0], values.data() + first[1]};
    }

    uint32_t width;

  private:
    std::vector<uint64_t> filter;
    std::vector<uint32_t> starts;  // of each bucket in values, and the end of the last
    std::vector<uint32_t> values;
    int filterShift = 0;
    int bucketShift = 0;
};

}  // namespace STREAMENGINE_SPACE
