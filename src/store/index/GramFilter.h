// GramFilter: whether a gram, a run of bytes of one width, may be one of a known set.
//
// One bit per gram (a Bloom filter with one hash function; Bloom, CACM 13(7), 1970), with so many
// bits that few are set: most positions of a text are rejected by one load and one shift. A gram
// that is in the set is never rejected.
//
// Built once, then read by any number of scanners.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "support/ByteOrder.h"

namespace STREAMENGINE_SPACE {

class GramFilter {
  public:
    static constexpr uint32_t kReadLength = 8;  // bytes that hash() reads, whatever the width

    /// All that a probe needs, by value: a loop keeps it in registers.
    struct View {
        const uint64_t* words;
        uint64_t factor;  // of the hash; removes the bytes after the gram
        int shift;        // hash >> shift is the number of the bit

        /// @param at  kReadLength bytes have to be readable
        /// @return in its lowest bit 0 if no gram of the set stands at `at`; its other bits have no
        ///         meaning
        [[gnu::always_inline]] uint64_t probe(const uint8_t* at) const { return test(hash(at)); }
        [[gnu::always_inline]] uint64_t test(uint64_t hash) const {
            const uint64_t bit = hash >> shift;
            return words[bit / 64] >> (bit % 64);
        }
        [[gnu::always_inline]] uint64_t hash(const uint8_t* at) const {
            return loadLittleEndian<uint64_t>(at) * factor;
        }
    };

    /// @param gramWidth  bytes of each gram, 1 to kReadLength
    explicit GramFilter(uint32_t gramWidth)
        : factor(kGoldenRatio << (64 - 8 * gramWidth)), width(gramWidth) {}

    View view() const { return {isFilled ? words.data() : &kNoGram, factor, shift}; }
    /// @return a view of other words by the same hash; they have 2^(64 - bitShift) bits
    View viewOf(const uint64_t* bits, int bitShift) const {
        return {bits != nullptr ? bits : &kNoGram, factor, bits != nullptr ? bitShift : 63};
    }

    /// @return the hash of the gram at `at`, of which kReadLength bytes have to be readable
    uint64_t hash(const uint8_t* at) const { return view().hash(at); }

    bool isEmpty() const { return !isFilled; }
    uint32_t gramWidth() const { return width; }

  protected:
    /// Makes room for a number of grams.
    void reserve(size_t grams);
    void enter(uint64_t hash) {
        const uint64_t bit = hash >> shift;
        words[static_cast<size_t>(bit / 64)] |= uint64_t{1} << (bit % 64);
    }
    /// @return the number of slots for what is wanted, a power of two
    static size_t slotCount(size_t wanted);
    /// @return by how much a hash is shifted to the right to number that many slots
    static int shiftFor(size_t slots);

  private:
    static constexpr uint64_t kNoGram = 0;  // all hashes lead to it while there are no words

    // Multiplying by the golden ratio mixes well (Knuth, The Art of Computer Programming 3, section
    // 6.4). The gram's first byte is the lowest of the word that is read, so zeros at the factor's
    // low end drop the bytes after the gram.
    static constexpr uint64_t kGoldenRatio = 0x9E3779B97F4A7C15U;

    std::vector<uint64_t> words;
    uint64_t factor;
    uint32_t width;
    int shift = 63;
    bool isFilled = false;
};

}  // namespace STREAMENGINE_SPACE
