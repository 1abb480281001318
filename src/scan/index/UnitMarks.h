// UnitMarks: which units of the index wait to be found in a stream, and which no longer count.
//
// Asked for each short part that stands in the text, so that it is one probe of a flat table as a
// rule. A slot holds a unit and its mark in 32 bits, 0 where it is free; linear probing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace STREAMENGINE_SPACE {

class UnitMarks {
  public:
    enum class Mark : uint32_t { None, Awake, Done };

    Mark of(uint32_t unit) const {
        if (used.empty()) return Mark::None;
        const uint32_t slot = slots[slotOf(unit)];
        return static_cast<Mark>(slot & kMarkBits);
    }

    /// Marks a unit as awake unless it has a mark.
    void wake(uint32_t unit) {
        if (of(unit) == Mark::None) set(unit, Mark::Awake);
    }
    void finish(uint32_t unit) { set(unit, Mark::Done); }

    /// Turns all that is Done into Awake.
    void reopen();

    /// Forgets all, at a cost that depends on the marks alone.
    void clear();

  private:
    static constexpr uint32_t kMarkBits = 3;

    size_t slotOf(uint32_t unit) const {
        constexpr uint64_t kGoldenRatio = 0x9E3779B97F4A7C15;
        const size_t mask = slots.size() - 1;
        size_t slot = static_cast<size_t>(unit * kGoldenRatio >> 32) & mask;
        while (slots[slot] != 0 && slots[slot] >> 2 != unit) slot = (slot + 1) & mask;
        return slot;
    }
    void set(uint32_t unit, Mark mark);
    void grow();

    std::vector<uint32_t> slots;  // a power of two of them, at most half taken
    std::vector<uint32_t> used;   // the units that have a mark
};

}  // namespace STREAMENGINE_SPACE
