// WaitingHeaps: the parts that wait for a unit, for each unit the one first that may match first.
//
// When the unit occurs, those are taken whose time has come: each is accepted or, if the occurrence
// is too far away, over for good. So a part is looked at once, however often its unit occurs.
//
// Pairing heaps (Fredman, Sedgewick, Sleator and Tarjan, "The pairing heap: a new form of
// self-adjusting heap", Algorithmica 1, 1986) in one array. Adding costs a comparison, taking the
// logarithm of the heap's size, averaged over all calls.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

namespace STREAMENGINE_SPACE {

class WaitingHeaps {
  public:
    static constexpr uint32_t kEmpty = 0xFFFFFFFF;  // the root of an empty heap

    struct Waiting {
        uint32_t earliest;  // stream offset at which the part may begin
        uint32_t node;      // of the PartTree
        uint32_t firstChild = kEmpty;
        uint32_t sibling = kEmpty;  // the next child of the same one
    };

    const Waiting& top(uint32_t root) const { return all[root]; }

    /// @return the new root
    /// @throws std::bad_alloc with nothing changed
    uint32_t add(uint32_t root, uint32_t earliest, uint32_t node) {
        const auto added = static_cast<uint32_t>(all.size());
        all.push_back({earliest, node});
        return root != kEmpty ? merge(root, added) : added;
    }

    /// Drops the top of a heap.
    /// @return the new root
    uint32_t drop(uint32_t root) { return mergePairs(all[root].firstChild); }

    void clear() { all.clear(); }

  private:
    /// @return the root of two heaps that are not empty
    uint32_t merge(uint32_t one, uint32_t other) {
        if (all[other].earliest < all[one].earliest) std::swap(one, other);
        all[other].sibling = all[one].firstChild;
        all[one].firstChild = other;
        return one;
    }

    /// Merges siblings: two and two from the first to the last, then these from the last to the
    /// first.
    uint32_t mergePairs(uint32_t first) {
        uint32_t pairs = kEmpty;  // the last one first, linked as siblings
        while (first != kEmpty) {
            const uint32_t second = all[first].sibling;
            const uint32_t rest = second != kEmpty ? all[second].sibling : kEmpty;
            const uint32_t pair = second != kEmpty ? merge(first, second) : first;
            all[pair].sibling = pairs;
            pairs = pair;
            first = rest;
        }
        uint32_t root = kEmpty;
        while (pairs != kEmpty) {
            const uint32_t next = all[pairs].sibling;
            root = root != kEmpty ? merge(root, pairs) : pairs;
            pairs = next;
        }
        return root;
    }

    std::vector<Waiting> all;  // of all heaps; dropped ones stay until clear()
};

}  // namespace STREAMENGINE_SPACE
