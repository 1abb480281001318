// PartProgress: how far the multi-part signatures of a stream have come.
//
// Only signatures under way have an entry, so that a stream's memory and the cost of starting one
// depend on what it holds and not on the size of the set. A hash table with linear probing: slots
// hold 1 + the index of an entry, 0 where they are free. Room once taken is kept for later streams.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace STREAMENGINE_SPACE {

class PartProgress {
  public:
    struct Entry {
        uint32_t sigid = 0;         // or another number that the user keeps entries by
        uint32_t partsMatched = 0;  // parts accepted so far
        uint32_t partEnd = 0;       // stream offset just behind the last of them
    };

    /// @return the entry of a signature under way, valid until start() or clear(); else null
    Entry* find(uint32_t sigid);
    const Entry* find(uint32_t sigid) const;

    bool empty() const { return entries.empty(); }
    const std::vector<Entry>& all() const { return entries; }

    /// Enters a signature, which must not be under way, with nothing accepted yet.
    Entry& start(uint32_t sigid);

    /// Forgets all, at a cost that depends on the entries alone.
    void clear();

  private:
    /// @return the slot of sigid or the free one in which it belongs; there must be a free one
    size_t slotOf(uint32_t sigid) const;
    void grow();

    std::vector<Entry> entries;
    std::vector<uint32_t> slots;  // a power of two of them, at most half taken
};

}  // namespace STREAMENGINE_SPACE
