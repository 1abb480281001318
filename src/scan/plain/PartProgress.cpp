#include "scan/plain/PartProgress.h"

#include <algorithm>
#include <utility>

namespace STREAMENGINE_SPACE {

const PartProgress::Entry* PartProgress::find(uint32_t sigid) const {
    if (entries.empty()) return nullptr;
    const uint32_t index = slots[slotOf(sigid)];
    return index != 0 ? &entries[index - 1] : nullptr;
}

PartProgress::Entry* PartProgress::find(uint32_t sigid) {
    return const_cast<Entry*>(std::as_const(*this).find(sigid));
}

PartProgress::Entry& PartProgress::start(uint32_t sigid) {
    if (2 * (entries.size() + 1) > slots.size()) grow();
    entries.push_back({sigid, 0, 0});
    slots[slotOf(sigid)] = static_cast<uint32_t>(entries.size());
    return entries.back();
}

void PartProgress::clear() {
    // Backwards, so that each is still found behind those that it had to give way to.
    for (; !entries.empty(); entries.pop_back()) slots[slotOf(entries.back().sigid)] = 0;
}

size_t PartProgress::slotOf(uint32_t sigid) const {
    constexpr uint32_t kGoldenRatio = 0x9E3779B1;  // spreads the consecutive numbers of a set
    const size_t mask = slots.size() - 1;
    size_t slot = (sigid * kGoldenRatio >> 8) & mask;
    while (slots[slot] != 0 && entries[slots[slot] - 1].sigid != sigid) slot = (slot + 1) & mask;
    return slot;
}

void PartProgress::grow() {
    constexpr size_t kFirstSlots = 16;
    slots.assign(std::max(kFirstSlots, 2 * slots.size()), 0);
    for (size_t i = 0; i < entries.size(); ++i) {
        slots[slotOf(entries[i].sigid)] = static_cast<uint32_t>(i + 1);
    }
}

}  // namespace STREAMENGINE_SPACE
