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

uint32_t GramCounts::rarestPair(const uint8_t* gram) const {
    uint32_t least = std::numeric_limits<uint32_t>::max();
    for (uint32_t i = 0; i + 2 <= width(); ++i) {
        least = std::min(least, pairCounts[pairAt(gram + i)]);
    }
    return least;
}

namespace {

// A unit's anchor lies among so many of its first symbols, if one there is not crowded: the
// further it may be from the start, the more of a text stays undecided until the next bytes come.
constexpr uint32_t kAnchorSpan = 256;

// Slides a window of `grams` consecutive grams over each row and keeps the cheapest sum. The cost
// of a gram has two parts in one number: how many other units share it, in the upper half, decides;
// among those that nobody shares the rarest pair of bytes does. One pass; the sum of a window is
// computed anew at each place, as it has four grams at most.
std::optional<Anchor> rarestWithin(const LiteralRows& literals, uint32_t grams,
                                   const GramCounts& counts, uint32_t span) {
    // A gram that others share costs more than any gram that only consists of common pairs.
    constexpr uint64_t kCostOfOther = uint64_t{1} << 32;
    constexpr uint32_t kMostGrams = 4;
    std::array<uint64_t, kMostGrams> costs{};  // of the grams seen last, by their place modulo 4
    std::optional<Anchor> best;
    uint64_t bestCost = std::numeric_limits<uint64_t>::max();
    for (const auto& row : literals.all()) {
        const uint32_t end = std::min(row.end, span);
        for (uint32_t i = row.begin; i + counts.width() <= end; ++i) {
            const uint8_t* const gram = literals.at(i);
            costs[i % kMostGrams] = counts.others(gram) * kCostOfOther + counts.rarestPair(gram);
            if (i - row.begin + 1 < grams) continue;
            uint64_t cost = 0;
            uint64_t worst = 0;
            for (uint32_t k = 0; k < grams; ++k) {
                cost += costs[(i - k) % kMostGrams];
                worst = std::max(worst, costs[(i - k) % kMostGrams]);
            }
            if (cost >= bestCost) continue;
            bestCost = cost;
            best = {i + 1 - grams, static_cast<uint32_t>(worst / kCostOfOther)};
        }
    }
    return best;
}

}  // namespace

std::optional<Anchor> chooseAnchor(const LiteralRows& literals, uint32_t grams,
                                   const GramCounts& counts) {
    const auto near = rarestWithin(literals, grams, counts, kAnchorSpan);
    if ((near && near->crowd <= kCrowd) || literals.all().back().end <= kAnchorSpan) return near;
    return rarestWithin(literals, grams, counts, kFurthestAnchor);
}

}  // namespace STREAMENGINE_SPACE
