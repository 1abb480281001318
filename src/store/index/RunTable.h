// RunTable: which run units may be at a gram of the text, and which of its grams count.
//
// A hash table in lines of 64 bytes, one cache miss a lookup. A line holds up to seven grams. Of
// each it has what the gram stands for, 16 more bits of the hash (the fingerprint), and 16 bits of
// one, two or four more bytes of the unit, after the gram or before it: many units are cut from the
// same text and share a gram.
//
// Before the lines stands a filter of one bit for many hashes. The base filter holds the grams that
// count when a stream begins, and so do the base lanes, a bit for each gram of a line. A search
// works on copies, in which it sets the bits of what it wakes and clears those of what is found for
// good. Hashes with the same filter bit are in one line and agree in the upper bits of the
// fingerprint:
//
//   hash   | line | fingerprint ............ |
//          | filter bit ..... |
//
// Built once, then read by any number of scanners.
#pragma once

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <array>
#include <cstdint>
#include <utility>
#include <vector>

#include "store/index/GramFilter.h"
#include "support/ByteOrder.h"

namespace STREAMENGINE_SPACE {

class RunTable {
  public:
    static constexpr uint32_t kGramsPerLine = 7;

    /// Which bytes of the unit an entry knows besides its gram.
    enum class Side : uint8_t {
        None,
        OneAfter,
        TwoAfter,
        FourAfter,
        OneBefore,
        TwoBefore,
        FourBefore
    };

    /// @return 16 bits of one, two or four bytes
    static uint16_t oneOf(const uint8_t* at) { return *at; }
    static uint16_t twoOf(const uint8_t* at) { return loadLittleEndian<uint16_t>(at); }
    static uint16_t fourOf(const uint8_t* at) {
        return static_cast<uint16_t>(loadLittleEndian<uint32_t>(at) * 0x9E3779B1U >> 16);
    }

    /// The bytes on each side of a gram in the text: one, two and four of them.
    struct Around {
        std::array<uint16_t, 3> after{};
        std::array<uint16_t, 3> before{};
        bool knowsAfter = false;  // false: what is after it fits to all
    };

    /// @param lanes  kGramsPerLine numbers and one more of no meaning
    /// @return a bit for each that is equal, the first one lowest
    static uint32_t equalLanes(const uint16_t* lanes, uint16_t sought) {
#ifdef __SSE2__
        const __m128i all = _mm_loadu_si128(reinterpret_cast<const __m128i*>(lanes));
        const __m128i equal = _mm_cmpeq_epi16(all, _mm_set1_epi16(static_cast<int16_t>(sought)));
        return static_cast<uint32_t>(
            _mm_movemask_epi8(_mm_packs_epi16(equal, _mm_setzero_si128())));
#else
        uint32_t equal = 0;
        for (uint32_t i = 0; i < kGramsPerLine; ++i) {
            equal |= (lanes[i] == sought ? 1U : 0U) << i;
        }
        return equal;
#endif
    }

    struct alignas(64) Line {
        std::array<uint16_t, kGramsPerLine> prints{};
        uint8_t count = 0;    // how many grams it has
        uint8_t without = 0;  // bit i: gram i knows no other bytes
        std::array<uint16_t, kGramsPerLine> checks{};
        uint8_t isBefore = 0;  // bit i: those of gram i are before it
        uint8_t areFour = 0;   // bit i: there are four of them
        std::array<uint32_t, kGramsPerLine> values{};
        uint32_t next : 24 = 0;  // number of the line that goes on with the same hashes; 0: none
        uint32_t isOne : 8 = 0;  // as areFour

        /// @return a bit for each gram with this fingerprint, the first one lowest, and some of no
        ///         meaning above those of the grams
        uint32_t withPrint(uint16_t print) const { return equalLanes(prints.data(), print); }
        /// @return a bit for each gram that may have these bytes around it, likewise
        uint32_t fitting(const Around& around) const;
        /// The same for one gram, which is at an index of a text.
        /// @param text  readable for four bytes after the gram
        /// @param rest  bytes of the text after the gram
        bool fits(uint32_t lane, const uint8_t* text, uint32_t at, uint32_t width,
                  uint32_t rest) const;
    };
    static_assert(sizeof(Line) == 64);

    /// One gram on the way into the table.
    struct Gram {
        uint64_t hash;  // by hash() of this table
        uint32_t value;
        Side side;
        uint16_t check;  // of the bytes on this side
        bool counts;     // when a stream begins
    };

    /// @param gramWidth  bytes of each gram
    explicit RunTable(uint32_t gramWidth) : grams(gramWidth) {}

    /// Fills an empty table.
    /// @param placed  values below are those of one gram each: placeOf() knows them
    /// @throws std::bad_alloc
    void build(const std::vector<Gram>& entries, uint32_t placed);

    bool isEmpty() const {
        return lines.empty();
    }
    uint32_t gramWidth() const {
        return grams.gramWidth();
    }
    uint64_t hash(const uint8_t* at) const {
        return grams.hash(at);
    }

    /// The filter when a stream begins: bit bitOf(hash), counted from the lowest of each word.
    const std::vector<uint64_t>& baseFilter() const {
        return base;
    }
    uint32_t bitOf(uint64_t hash) const {
        return static_cast<uint32_t>(hash >> filterShift);
    }
    /// @return what a probe needs of a copy of the base filter
    GramFilter::View viewOf(const uint64_t* filter) const {
        return grams.viewOf(filter, filterShift);
    }

    /// By line: bit i says whether gram i counts when a stream begins.
    const std::vector<uint8_t>& baseLanes() const {
        return lanes;
    }
    /// @return the number of the first line of a hash; Line::next leads on
    uint32_t lineOf(uint64_t hash) const {
        return static_cast<uint32_t>(hash >> lineShift);
    }
    const Line& line(uint32_t number) const {
        return lines[number];
    }
    /// @return the number of the line and the lane of a gram that is in the table
    std::pair<uint32_t, uint32_t> placeOf(uint32_t value) const {
        return {places[value] / kGramsPerLine, places[value] % kGramsPerLine};
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
    std::vector<uint8_t> lanes;
    std::vector<Line> lines;       // those by hash, then those that go on
    std::vector<uint32_t> places;  // by value: kGramsPerLine times the line, plus the lane
    int filterShift = 63;
    int lineShift = 63;
};

}  // namespace STREAMENGINE_SPACE
