// RunTable: which run units may be at a gram of the text, and which of its grams count.
//
// A hash table in lines of 64 bytes, one cache miss a lookup. A line holds up to ten grams: 16 more
// bits of each hash, its fingerprint, and what it stands for. Before it stands a filter of one bit
// for many hashes: the base filter holds the grams that count when a stream begins. A search works
// on a copy, in which it sets the bits of what it wakes and clears those of what is found for good.
// Hashes with the same filter bit are in one line and agree in the upper bits of the fingerprint:
//
//   hash   | line | fingerprint ............ |
//          | filter bit ..... |
//
// Built once, then read by any number of scanners.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "store/index/GramFilter.h"

namespace STREAMENGINE_SPACE {

class RunTable {
  public:
    static constexpr uint32_t kGramsPerLine = 10;

    struct alignas(64) Line {
        std::array<uint16_t, kGramsPerLine> prints{};
        std::array<uint32_t, kGramsPerLine> values{};
        uint32_t countAndNext = 0;  // how many grams it has; 16 times the number of the line that
                                    // goes on with the same hashes, 0: none

        uint32_t count() const { return countAndNext % 16; }
        uint32_t next() const { return countAndNext / 16; }
        /// @return a bit for each gram with this fingerprint, the first one lowest
        uint32_t withPrint(uint16_t print) const;
    };

    /// One gram on the way into the table.
    struct Gram {
        uint64_t hash;   // by hash() of this table
        uint32_t value;  // what find() returns for it
        bool counts;     // when a stream begins
    };

    /// @param gramWidth  bytes of each gram
    explicit RunTable(uint32_t gramWidth) : grams(gramWidth) {}

    /// Fills an empty table.
    /// @throws std::bad_alloc
    void build(const std::vector<Gram>& entries);

    bool isEmpty() const { return lines.empty(); }
    uint32_t gramWidth() const { return grams.gramWidth(); }
    uint64_t hash(const uint8_t* at) const { return grams.hash(at); }

    /// The filter when a stream begins: bit bitOf(hash), counted from the lowest of each word.
    const std::vector<uint64_t>& baseFilter() const { return base; }
    uint32_t bitOf(uint64_t hash) const { return static_cast<uint32_t>(hash >> filterShift); }
    /// @return what a probe needs of a copy of the base filter
    GramFilter::View viewOf(const uint64_t* filter) const {
        return grams.viewOf(filter, filterShift);
    }

    /// The line of a hash, and the lines that go on with it.
    const Line& lineOf(uint64_t hash) const {
        return lines[static_cast<size_t>(hash >> lineShift)];
    }
    const Line* nextOf(const Line& line) const {
        return line.next() != 0 ? &lines[line.next()] : nullptr;
    }
    uint16_t printOf(uint64_t hash) const {
        return static_cast<uint16_t>(hash << (64 - lineShift) >> 48);
    }
    /// @return whether grams of one line with these fingerprints have the same filter bit
    bool sharesBit(uint16_t one, uint16_t other) const {
        return ((one ^ other) >> (16 - (lineShift - filterShift))) == 0;
    }

  private:
    void enter(const Gram& gram);

    GramFilter grams;  // gives the hash; holds nothing
    std::vector<uint64_t> base;
    std::vector<Line> lines;  // those by hash, then those that go on
    int filterShift = 63;
    int lineShift = 63;
};

}  // namespace STREAMENGINE_SPACE
