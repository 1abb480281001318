// WaitingHeaps: the parts that wait for a unit, for each unit the one first that may match first.
//
// When the unit occurs, those are taken whose time has come: each is accepted or, if the occurrence
// is too far away, over for good. So a part is looked at once, however often its unit occurs.
//
// Skew heaps (Sleator and Tarjan, "Self-adjusting heaps", SIAM Journal on Computing 15(1), 1986) in
// one array. Adding and taking cost the logarithm of the heap's size, averaged over all calls.
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
        uint32_t left = kEmpty;
        uint32_t right = kEmpty;
    };

    const Waiting& top(uint32_t root) const { return all[root]; }

    /// @return the new root
    /// @throws std::bad_alloc with nothing changed
    uint32_t add(uint32_t root, uint32_t earliest, uint32_t node) {
        all.push_back({earliest, node});
        return merge(root, static_cast<uint32_t>(all.size() - 1));
    }

    /// Drops the top of a heap.
    /// @return the new root
    uint32_t drop(uint32_t root) { return merge(all[root].left, all[root].right); }

    void clear() { all.clear(); }

  private:
    uint32_t merge(uint32_t one, uint32_t other) {
        uint32_t root = kEmpty;
        uint32_t* link = &root;
        while (one != kEmpty && other != kEmpty) {
            if (all[other].earliest < all[one].earliest) std::swap(one, other);
            Waiting& upper = all[one];
            *link = one;
            one = upper.right;
            upper.right = upper.left;
            link = &upper.left;
        }
        *link = one != kEmpty ? one : other;
        return root;
    }

    std::vector<Waiting> all;  // of all heaps; dropped ones stay until clear()
};

}  // namespace STREAMENGINE_SPACE
