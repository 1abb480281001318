// FlatMap: a small map from 32-bit numbers to values, for state that a stream builds up and drops.
//
// A hash table with linear probing; keys and values lie side by side, so a lookup is one cache miss
// as a rule. Only keys that were inserted cost anything: memory and the time of clear() depend on
// them and not on how many keys could come. Room once taken is kept for later use.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace QLT_SPACE {

/// @tparam Value  copyable; an inserted key starts with Value()
template <class Value>
class FlatMap {
  public:
    static constexpr uint32_t kNoKey = 0xFFFFFFFF;  // marks free slots; not to be inserted

    /// @return the key's value, valid until the next insert() or clear(); null if it has none
    const Value* find(uint32_t key) const {
        if (taken.empty()) return nullptr;
        const Slot& slot = slots[slotOf(key)];
        return slot.key == key ? &slot.value : nullptr;
    }
    Value* find(uint32_t key) { return const_cast<Value*>(std::as_const(*this).find(key)); }

    /// Inserts a key that is not in the map.
    /// @throws std::bad_alloc with the map unchanged
    Value& insert(uint32_t key) {
        if (2 * (taken.size() + 1) > slots.size()) grow();
        const size_t slot = slotOf(key);
        taken.push_back(static_cast<uint32_t>(slot));
        slots[slot] = {key, Value()};
        return slots[slot].value;
    }
    Value& findOrInsert(uint32_t key) {
        Value* known = find(key);
        return known != nullptr ? *known : insert(key);
    }

    bool empty() const { return taken.empty(); }
    size_t size() const { return taken.size(); }

    /// Calls test(key, value) for each key, in the order of insertion, until one returns true.
    /// @return whether one did
    bool anyOf(const auto& test) const {
        return std::any_of(taken.begin(), taken.end(),
                           [&](uint32_t slot) { return test(slots[slot].key, slots[slot].value); });
    }
    /// Calls change(value) for each key.
    void forEachValue(const auto& change) {
        for (const uint32_t slot : taken) change(slots[slot].value);
    }

    void clear() {
        for (const uint32_t slot : taken) slots[slot].key = kNoKey;
        taken.clear();
    }

  private:
    struct Slot {
        uint32_t key = kNoKey;
        Value value{};
    };

    /// @return the slot of key, or the free slot in which it belongs; there must be a free one
    size_t slotOf(uint32_t key) const {
        constexpr uint64_t kGoldenRatio = 0x9E3779B97F4A7C15;  // spreads consecutive numbers
        const size_t mask = slots.size() - 1;
        size_t slot = static_cast<size_t>(key * kGoldenRatio >> 32) & mask;
        while (slots[slot].key != key && slots[slot].key != kNoKey) slot = (slot + 1) & mask;
        return slot;
    }

    void grow() {
        constexpr size_t kFirstSlots = 16;
        const size_t count = std::max(kFirstSlots, 2 * slots.size());
        taken.reserve(count / 2);
        std::vector<Slot> old(count);
        old.swap(slots);
        for (uint32_t& position : taken) {
            const Slot& moved = old[position];
            position = static_cast<uint32_t>(slotOf(moved.key));
            slots[position] = moved;
        }
    }

    std::vector<Slot> slots;      // a power of two of them, at most half taken
    std::vector<uint32_t> taken;  // positions of the taken slots, in the order of insertion
};

}  // namespace QLT_SPACE
