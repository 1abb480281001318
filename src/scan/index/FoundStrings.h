// FoundStrings: the plain strings that a search found in a text, and which of them comes next.
//
// A host resumes after each string that is reported. Those after it stay true, so they are kept
// while the text loses its beginning and gets more bytes at its end.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace STREAMENGINE_SPACE {

/// A plain string in the text, or another unit.
struct FoundUnit {
    uint32_t start;  // stream offset
    uint32_t unit;
};

/// Places are given as indexes in the text whose first byte has the stream offset `base`.
class FoundStrings {
  public:
    /// A search adds to its end, in any order, and calls sortFrom() then.
    std::vector<FoundUnit>& all() { return found; }

    /// Sorts what was added by place, and strings of one place by the unit.
    /// @param first  index of the first that was added; those before it begin earlier
    void sortFrom(size_t first, uint32_t base) {
        const auto placeOf = [base](const FoundUnit& each) {
            return std::pair(each.start - base, each.unit);
        };
        std::sort(found.begin() + static_cast<std::ptrdiff_t>(first), found.end(),
                  [&](const auto& a, const auto& b) { return placeOf(a) < placeOf(b); });
    }

    /// @return whether there is one that begins before an index
    bool hasBefore(uint32_t index, uint32_t base) const {
        return std::any_of(found.begin() + static_cast<std::ptrdiff_t>(nextIndex), found.end(),
                           [&](const FoundUnit& each) { return each.start - base < index; });
    }

    /// @return the first that was not skipped, or null
    const FoundUnit* next() const { return nextIndex < found.size() ? &found[nextIndex] : nullptr; }

    /// Skips those that begin before an index.
    void skipBefore(uint32_t index, uint32_t base) {
        while (nextIndex < found.size() && found[nextIndex].start - base < index) ++nextIndex;
    }

    /// Drops those that begin at an index or later, and those that were skipped.
    void dropFrom(uint32_t index, uint32_t base) {
        while (found.size() > nextIndex && found.back().start - base >= index) found.pop_back();
        if (nextIndex <= found.size() / 2) return;  // so that each is moved once, on average
        found.erase(found.begin(), found.begin() + static_cast<std::ptrdiff_t>(nextIndex));
        nextIndex = 0;
    }

    void clear() {
        constexpr size_t kKept = 64;  // an idle stream keeps no more room
        if (found.capacity() > kKept) found = {};
        found.clear();
        nextIndex = 0;
    }

  private:
    std::vector<FoundUnit> found;
    size_t nextIndex = 0;
};

}  // namespace STREAMENGINE_SPACE
