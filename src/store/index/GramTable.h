// GramTable: what is known of each gram of a set.
//
// All grams of a table have one width, 2 to 8 bytes. A position of the text is first tested with
// the filter; only if that accepts it, the bucket of its hash is read. A bucket may hold other
// grams with a similar hash: whoever reads it compares.
//
// Built once, then read by any number of scanners.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "store/index/GramFilter.h"

namespace STREAMENGINE_SPACE {

template <class Value>
class GramTable : public GramFilter {
  public:
    /// One gram on the way into the table.
    struct Gram {
        uint64_t hash;  // by hash() of this table
        Value value;    // what bucket() returns for it
    };

    explicit GramTable(uint32_t gramWidth = kReadLength) : GramFilter(gramWidth) {}

    /// Fills an empty table. Grams of one bucket keep their order.
    /// @throws std::bad_alloc
    void build(const std::vector<Gram>& grams);

    /// @return the values of all grams whose hash may be this one; only of a table that is not
    ///         empty
    std::span<const Value> bucket(uint64_t hash) const {
        const uint32_t* const first = starts.data() + (hash >> bucketShift);
        return {values.data() + first[0], values.data() + first[1]};
    }

    /// Begins to load what bucket() reads.
    void prefetch(uint64_t hash) const {
        __builtin_prefetch(starts.data() + (hash >> bucketShift));
    }

  private:
    static constexpr size_t kGramsPerBucket = 2;

    std::vector<uint32_t> starts;  // of each bucket in values, and the end of the last
    std::vector<Value> values;
    int bucketShift = 0;
};

// A counting sort by bucket: count, sum the counts up, place.
template <class Value>
void GramTable<Value>::build(const std::vector<Gram>& grams) {
    if (grams.empty()) return;
    reserve(grams.size());
    const size_t buckets = slotCount(grams.size() / kGramsPerBucket);
    bucketShift = shiftFor(buckets);
    starts.assign(buckets + 1, 0);
    values.resize(grams.size());
    for (const Gram& gram : grams) {
        enter(gram.hash);
        ++starts[static_cast<size_t>(gram.hash >> bucketShift)];
    }
    uint32_t end = 0;
    for (uint32_t& start : starts) start = end += start;
    // From the last gram to the first, so that each start moves from its bucket's end to its
    // beginning.
    for (size_t i = grams.size(); i-- > 0;) {
        values[--starts[static_cast<size_t>(grams[i].hash >> bucketShift)]] = grams[i].value;
    }
}

}  // namespace STREAMENGINE_SPACE
