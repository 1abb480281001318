// FoundUnits: the units of the automaton that a search found, and the order in which they are
// judged.
//
// The anchors of a unit may lie up to `reach` bytes after its start, so units are not found in the
// order of their starts. They wait here until the search is past everything that can begin before
// them; then they are sorted and judged from left to right.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory_resource>
#include <span>
#include <vector>

namespace STREAMENGINE_SPACE {

struct FoundUnit {
    uint32_t start;  // index in the text
    uint32_t unit;

    bool operator<(const FoundUnit& other) const {
        return start != other.start ? start < other.start : unit < other.unit;
    }
};

class FoundUnits {
  public:
    FoundUnits() { units.reserve(kInlineUnits); }

    bool empty() const { return units.empty(); }
    void add(const FoundUnit& found) { units.push_back(found); }

    /// Hands over the units that begin before an index, those of one start together, from left to
    /// right, and drops them.
    /// @param judge  takes a non-empty span of units with one start and returns whether to stop
    /// @return whether it was stopped; the object must not be used any more then
    template <class Judge>
    bool judgeBefore(uint32_t bound, Judge judge) {
        if (units.empty()) return false;
        std::sort(units.begin(), units.end());
        size_t done = 0;
        while (done < units.size() && units[done].start < bound) {
            const size_t first = done;
            const uint32_t start = units[first].start;
            while (done < units.size() && units[done].start == start) ++done;
            if (judge(std::span<const FoundUnit>(units.data() + first, done - first))) return true;
        }
        units.erase(units.begin(), units.begin() + static_cast<std::ptrdiff_t>(done));
        return false;
    }

  private:
    static constexpr size_t kInlineUnits = 32;

    // Room for what is found as a rule: only a text full of parts allocates.
    std::array<std::byte, kInlineUnits * sizeof(FoundUnit)> room;  // NOLINT: filled by units
    std::pmr::monotonic_buffer_resource memory{room.data(), room.size()};
    std::pmr::vector<FoundUnit> units{&memory};
};

}  // namespace STREAMENGINE_SPACE
