#include "scan/index/UnitMarks.h"

#include <algorithm>

namespace STREAMENGINE_SPACE {

void UnitMarks::set(uint32_t unit, Mark mark) {
    if (2 * (used.size() + 1) > slots.size()) grow();
    uint32_t& slot = slots[slotOf(unit)];
    if (slot == 0) used.push_back(unit);
    slot = unit << 2 | static_cast<uint32_t>(mark);
}

void UnitMarks::reopen() {
    for (const uint32_t unit : used) set(unit, Mark::Awake);
}

void UnitMarks::clear() {
    // Backwards, so that each is still found behind those that it had to give way to.
    for (; !used.empty(); used.pop_back()) slots[slotOf(used.back())] = 0;
}

void UnitMarks::grow() {
    constexpr size_t kFirstSlots = 32;
    std::vector<uint32_t> marked;
    marked.reserve(used.size());
    for (const uint32_t unit : used) marked.push_back(slots[slotOf(unit)]);
    slots.assign(std::max(kFirstSlots, 2 * slots.size()), 0);
    for (const uint32_t mark : marked) slots[slotOf(mark >> 2)] = mark;
}

}  // namespace STREAMENGINE_SPACE
