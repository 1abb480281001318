#include "store/index/ShapeTable.h"

#include <algorithm>
#include <tuple>

namespace STREAMENGINE_SPACE {
namespace {

auto orderOf(const ShapeTable::Group& group) {
    return std::tuple(group.pair, group.windowAfter, group.mask);
}

}  // namespace

void ShapeTable::build(std::vector<Entry> entries) {
    if (entries.empty()) return;
    pairs.assign(kPairs / 64, 0);
    // Stable: units of one key keep their order.
    std::stable_sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
        return orderOf(a.group) < orderOf(b.group);
    });
    std::vector<ByteClasses::Bytes> anchors;
    for (const Entry& entry : entries) {
        anchors.push_back(entry.anchor);
        const Group& group = entry.group;
        if (groups.empty() || groups.back() != group) {
            Range& range = ranges.findOrInsert(group.pair);
            if (range.count++ == 0) range.first = static_cast<uint32_t>(groups.size());
            groups.push_back(group);
            pairs[group.pair / 64] |= uint64_t{1} << (group.pair % 64);
        }
        const uint32_t key = keyOf(groups.back(), entry.bytes.data());
        const uint32_t* const known = heads.find(key);
        links.push_back({entry.runUnit, known != nullptr ? *known : kNone});
        heads.findOrInsert(key) = static_cast<uint32_t>(links.size() - 1);
    }
    std::sort(anchors.begin(), anchors.end());
    byteClasses.build(anchors);
}

std::span<const ShapeTable::Group> ShapeTable::groupsOf(uint16_t pair) const {
    const Range* const range = ranges.find(pair);
    if (range == nullptr) return {};
    return {groups.data() + range->first, range->count};
}

// Other groups or other bytes may have the same key: whoever gets a unit compares it.
uint32_t ShapeTable::keyOf(const Group& group, const uint8_t* window) {
    constexpr uint64_t kFactor = 0x9E3779B97F4A7C15U;
    const auto masked = [&](size_t at) {
        return loadLittleEndian<uint64_t>(window + at) &
               loadLittleEndian<uint64_t>(group.mask.data() + at);
    };
    uint64_t mixed = masked(0) * kFactor;
    mixed = (mixed ^ (mixed >> 32) ^ masked(8)) * kFactor;
    mixed = (mixed ^ (mixed >> 32) ^ (uint64_t{group.pair} << 32 | group.windowAfter)) * kFactor;
    return static_cast<uint32_t>(mixed >> 33);  // never FlatMap's kNoKey
}

}  // namespace STREAMENGINE_SPACE
