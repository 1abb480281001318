#include "store/index/AnchorChoice.h"

#include <algorithm>
#include <array>
#include <bit>
#include <limits>

namespace STREAMENGINE_SPACE {
namespace {

constexpr size_t kPairs = 65536;

uint32_t pairAt(const uint8_t* bytes) {
    return static_cast<uint32_t>(bytes[0] << 8 | bytes[1]);
}

}  // namespace

// Counts are kept by hash: two grams may share a slot and look more common than they are. That only
// makes an anchor worse, never wrong. The number of slots is about the number of grams.
GramCounts::GramCounts(uint32_t width, size_t expected)
    : hasher(width), counts(std::bit_ceil(std::max<size_t>(expected, 2))), pairCounts(kPairs) {
    shift = 64 - std::countr_zero(counts.size());
}

void GramCounts::add(const LiteralRows& literals) {
    for (const auto& row : literals.all()) {
        for (uint32_t i = row.begin; i + 2 <= row.end; ++i) ++pairCounts[pairAt(literals.at(i))];
        for (uint32_t i = row.begin; i + width() <= row.end; ++i) {
            uint16_t& count = counts[slotOf(literals.at(i))];
            if (count != std::numeric_limits<uint16_t>::max()) ++count;
        }
    }
}

uint32_t GramCounts::others(const uint8_t* gram) const {
    const uint16_t count = counts[slotOf(gram)];
    return count != 0 ? count - 1U : 0U;
}

uint32_t GramCounts::pair(const uint8_t* bytes) const {
    return pairCounts[pairAt(bytes)];
}

namespace {

// A unit's anchor lies among so many of its first symbols, if one there is not crowded: the
// further it may be from the start, the more of a text stays undecided until the next bytes come.
constexpr uint32_t kAnchorSpan = 256;

// A gram that others share costs more than any gram that only consists of common pairs.
constexpr uint64_t kCostOfOther = uint64_t{1} << 32;

}  // namespace

// The cost of a gram has two parts in one number: how many other units share it, in the upper half,
// decides; among those that nobody shares the rarest pair of bytes does.
void AnchorChooser::read(const LiteralRows& rows) {
    literals = &rows;
    const size_t symbols = rows.all().back().end;
    if (pairs.size() < symbols) pairs.resize(symbols);
    if (costs.size() < symbols) costs.resize(symbols);
    const uint32_t width = counts.width();
    for (const auto& row : rows.all()) {
        for (uint32_t i = row.begin; i + 1 < row.end; ++i) pairs[i] = counts.pair(rows.at(i));
        for (uint32_t i = row.begin; i + width <= row.end; ++i) {
            const auto first = pairs.begin() + i;
            const uint32_t rarest = *std::min_element(first, first + (width - 1));
            costs[i] = counts.others(rows.at(i)) * kCostOfOther + rarest;
        }
    }
}

std::optional<Anchor> AnchorChooser::choose(uint32_t grams) const {
    const auto within = [&](uint32_t span) {
        return grams == 1   ? rarestWithin<1>(span)
               : grams == 2 ? rarestWithin<2>(span)
                            : rarestWithin<4>(span);
    };
    const auto near = within(kAnchorSpan);
    if ((near && near->crowd <= kCrowd) || literals->all().back().end <= kAnchorSpan) return near;
    return within(kFurthestAnchor);
}

template <uint32_t kGrams>
std::optional<Anchor> AnchorChooser::rarestWithin(uint32_t span) const {
    uint32_t best = span;
    uint64_t bestCost = std::numeric_limits<uint64_t>::max();
    const uint32_t length = counts.width() + kGrams - 1;
    for (const auto& row : literals->all()) {
        const uint32_t end = std::min(row.end, span);
        for (uint32_t i = row.begin; i + length <= end; ++i) {
            uint64_t cost = 0;
            for (uint32_t k = 0; k < kGrams; ++k) cost += costs[i + k];
            if (cost >= bestCost) continue;
            bestCost = cost;
            best = i;
        }
    }
    if (best == span) return std::nullopt;
    const uint64_t worst = *std::max_element(&costs[best], &costs[best] + kGrams);
    return Anchor{best, static_cast<uint32_t>(worst / kCostOfOther)};
}

}  // namespace STREAMENGINE_SPACE
