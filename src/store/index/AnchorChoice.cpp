#include "store/index/AnchorChoice.h"

#include <algorithm>
#include <array>
#include <bit>
#include <limits>
#include <numeric>

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
            uint8_t& count = counts[slotOf(literals.at(i))];
            if (count != std::numeric_limits<uint8_t>::max()) ++count;
        }
    }
}

uint32_t GramCounts::others(const uint8_t* gram) const {
    const uint8_t count = counts[slotOf(gram)];
    return count != 0 ? count - 1U : 0U;
}

uint32_t GramCounts::rarestPair(const uint8_t* gram) const {
    uint32_t least = std::numeric_limits<uint32_t>::max();
    for (uint32_t i = 0; i + 2 <= width(); ++i) {
        least = std::min(least, pairCounts[pairAt(gram + i)]);
    }
    return least;
}

// Slides a window of `grams` consecutive grams over each row and keeps the cheapest sum. The cost
// of a gram has two parts in one number: how many other units share it, in the upper half, decides;
// among those that nobody shares the rarest pair of bytes does. One pass over at most kAnchorSpan
// symbols; the sum of a window is computed anew at each place, as it has four grams at most.
std::optional<Anchor> chooseAnchor(const LiteralRows& literals, uint32_t grams,
                                   const GramCounts& counts) {
    // A gram that others share costs more than any gram that only consists of common pairs.
    constexpr uint64_t kCostOfOther = uint64_t{1} << 32;
    std::array<uint64_t, kAnchorSpan> costs;  // NOLINT: by gram; filled below
    std::optional<Anchor> best;
    uint64_t bestCost = std::numeric_limits<uint64_t>::max();
    for (const auto& row : literals.all()) {
        for (uint32_t i = row.begin; i + counts.width() <= row.end; ++i) {
            const uint8_t* const gram = literals.at(i);
            costs[i] = counts.others(gram) * kCostOfOther + counts.rarestPair(gram);
            if (i - row.begin + 1 < grams) continue;
            const auto* const first = costs.data() + i + 1 - grams;
            const uint64_t cost = std::accumulate(first, first + grams, uint64_t{0});
            if (cost >= bestCost) continue;
            bestCost = cost;
            const uint64_t worst = *std::max_element(first, first + grams);
            best = {i + 1 - grams, static_cast<uint32_t>(worst / kCostOfOther)};
        }
    }
    return best;
}

}  // namespace STREAMENGINE_SPACE
