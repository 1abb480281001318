// GramTable: which patterns have a given run of bytes, a gram, at a given place.
//
// All grams of a table have one width, 2 to 8 bytes. A position of the text is first held against
// a filter of one bit a gram (a Bloom filter, CACM 13(7), 1970), with so many bits that few are
// set; only then is the bucket of its hash read.
//
// Built once, then read by any number of scanners.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

namespace STREAMENGINE_SPACE {

/// Which grams there are, without what is known of them.
class GramFilter {
    static_assert(std::endian::native == std::endian::little, "grams are read as they lie");

  public:
    static constexpr uint32_t kReadLength = 8;  // bytes that hash() reads, whatever the width

    /// All that a look takes, by value: for loops that keep it in registers.
    struct View {
        const uint64_t* words;
        uint64_t
            factor;  // of the hash; drops those of the eight bytes read that are behind the gram
        int shift;   // leaves of a hash the number of its bit

        /// @return in its lowest bit, 0 if no gram of the table stands at `at`, of which
        /// kReadLength
        ///         bytes have to be readable; the other bits have no meaning
        [[gnu::always_inline]] uint64_t look(const uint8_t* at) const { return test(hash(at)); }
        [[gnu::always_inline]] uint64_t test(uint64_t hash) const {
            const uint64_t bit = hash >> shift;
            return words[bit / 64] >> (bit % 64);
        }
        [[gnu::always_inline]] uint64_t hash(const uint8_t* at) const {
            uint64_t word = 0;
            std::memcpy(&word, at, sizeof word);
            return word * factor;
        }
    };

    explicit GramFilter(uint32_t gramWidth) : width(gramWidth) {}

    View view() const {
        // The first byte is the lowest: what the factor's zeros shift out stands behind the gram.
        return {isFilled ? words.data() : &kNoGram, 0x9E3779B97F4A7C15U << (64 - 8 * width), shift};
    }

    /// @return the hash of the gram at `at`, of which kReadLength bytes have to be readable
    uint64_t hash(const uint8_t* at) const { return view().hash(at); }

    /// @return false if no gram of the table has this hash
    bool mayHold(uint64_t hash) const { return (view().test(hash) & 1) != 0; }

    /// @return whether mayHold() lets nothing through
    bool isClosed() const { return !isFilled; }

    uint32_t width;

    /// Fills an empty filter with the grams of these hashes.
    /// @throws std::bad_alloc
    void fill(const std::vector<uint64_t>& hashes);

  protected:
    /// Makes room for so many grams.
    void reserve(size_t grams);
    void enter(uint64_t hash) {
        const uint64_t bit = hash >> shift;
        words[static_cast<size_t>(bit / 64)] |= uint64_t{1} << (bit % 64);
    }
    /// @return how many slots there are to be, a power of two
    static size_t slotCount(size_t wanted);
    /// @return by how much a hash is shifted to the right to number that many slots
    static int shiftFor(size_t slots);

  private:
    static constexpr uint64_t kNoGram = 0;  // all hashes lead to it while there are no words

    std::vector<uint64_t> words;
    int shift = 63;
    bool isFilled = false;
};

template <class Value>
class GramTable : public GramFilter {
  public:
    /// One gram on the way into the table.
    struct Gram {
        uint64_t hash;  // by hash() of this table
        Value value;    // what bucket() gives for it
    };

    explicit GramTable(uint32_t gramWidth = kReadLength) : GramFilter(gramWidth) {}

    /// Fills an empty table.
    /// @throws std::bad_alloc
    void build(const std::vector<Gram>& grams);

    /// @return the values of all grams whose hash may be this one; only of a table that is not
    /// empty
    std::span<const Value> bucket(uint64_t hash) const {
        const uint32_t* const first = starts.data() + (hash >> bucketShift);
        return {values.data() + first[0], values.data() + first[1]};
    }

  private:
    static constexpr size_t kGramsPerBucket = 2;

    std::vector<uint32_t> starts;  // of each bucket in values, and the end of the last
    std::vector<Value> values;
    int bucketShift = 0;
};

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
    // From the back, so that each start moves from its bucket's end to its beginning.
    for (size_t i = grams.size(); i-- > 0;) {
        values[--starts[static_cast<size_t>(grams[i].hash >> bucketShift)]] = grams[i].value;
    }
}

}  // namespace STREAMENGINE_SPACE
