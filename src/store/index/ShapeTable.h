// ShapeTable: finds units that have no row of literal bytes to search for.
//
// Of "aa??x??x??x" the longest row is "aa", which thousands of units may share. But units that are
// written alike have their literals at the same symbols, the same shape, and differ in the values.
// So the units are grouped: those of a group agree in a pair of bytes and in the shape of a window
// of 16 symbols, which as a rule begins with the pair. Where the pair is in the text, each of its
// groups hashes the window with all but the literals masked out, and one lookup finds the units of
// these values.
//
// A position costs one step for each group of its pair, not for each unit. Example: 10,000 units
// "aa??x??x??x" with other bytes for x are one group.
//
// Built once, then read by any number of scanners.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

#include "store/index/ByteClasses.h"
#include "store/index/RunUnit.h"
#include "support/ByteOrder.h"
#include "support/FlatMap.h"

namespace STREAMENGINE_SPACE {

class ShapeTable {
  public:
    static constexpr uint32_t kPairs = 65536;
    using Window = std::array<uint8_t, kWindow>;

    /// A pair of bytes, and the shape of the window of those units that are entered with it.
    struct Group {
        Window mask{};  // 0xFF at literals, 0 elsewhere
        uint16_t pair = 0;
        uint32_t windowAfter = 0;  // bytes from the pair to the window

        bool operator==(const Group& other) const = default;
    };

    /// A unit on the way into the table.
    struct Entry {
        Group group;
        Window bytes;
        ByteClasses::Bytes anchor;  // the pair and the two symbols after it
        uint32_t runUnit;
    };

    /// Fills an empty table.
    /// @throws std::bad_alloc
    void build(std::vector<Entry> entries);

    bool isEmpty() const { return groups.empty(); }

    static uint16_t pairAt(const uint8_t* at) { return loadLittleEndian<uint16_t>(at); }
    /// A bit for each pair, the lowest of a word first.
    const std::vector<uint64_t>& pairBits() const { return pairs; }
    bool hasPair(uint16_t pair) const { return (pairs[pair / 64] >> (pair % 64) & 1) != 0; }
    /// Accepts each place of a text at which a unit may have its pair.
    const ByteClasses& classes() const { return byteClasses; }
    /// @return the groups of a pair
    std::span<const Group> groupsOf(uint16_t pair) const;

    /// Visits the units of a group with the bytes at `window`, and perhaps others.
    /// @param window  kWindow readable bytes
    /// @param visit   takes the number of a RunUnit
    void forEachAt(const Group& group, const uint8_t* window, const auto& visit) const {
        const uint32_t* const first = heads.find(keyOf(group, window));
        if (first == nullptr) return;
        for (uint32_t i = *first; i != kNone; i = links[i].next) visit(links[i].runUnit);
    }

  private:
    static constexpr uint32_t kNone = 0xFFFFFFFF;

    struct Link {
        uint32_t runUnit;
        uint32_t next;  // of the same key; kNone: the last
    };
    struct Range {
        uint32_t first = 0;  // in groups
        uint32_t count = 0;
    };

    static uint32_t keyOf(const Group& group, const uint8_t* window);

    std::vector<uint64_t> pairs;
    ByteClasses byteClasses;
    std::vector<Group> groups;           // those of a pair together
    QLT_SPACE::FlatMap<Range> ranges;    // by pair
    QLT_SPACE::FlatMap<uint32_t> heads;  // by key: the first link
    std::vector<Link> links;
};

}  // namespace STREAMENGINE_SPACE
