#include "store/index/AnchorChoice.h"

#include <algorithm>
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

void LiteralRuns::assign(std::span<const uint8_t> plain) {
    const size_t length = std::min<size_t>(plain.size(), SignatureIndex::kAnchorRoom);
    std::copy_n(plain.begin(), length, bytes.begin());
    runs.assign(1, {0, static_cast<uint32_t>(length)});
}

void LiteralRuns::assign(std::span<const Symbol> symbols) {
    const size_t length = std::min<size_t>(symbols.size(), SignatureIndex::kAnchorRoom);
    runs.clear();
    for (uint32_t i = 0; i < length; ++i) {
        bytes[i] = static_cast<uint8_t>(symbols[i]);
        if (isWildcardSymbol(symbols[i])) continue;
        if (runs.empty() || runs.back().end != i) runs.push_back({i, i});
        ++runs.back().end;
    }
}

uint32_t LiteralRuns::longest() const {
    uint32_t length = 0;
    for (const Run& run : runs) length = std::max(length, run.length());
    return length;
}

GramCounts::GramCounts(uint32_t width, size_t expected)
    : hasher(width), counts(std::bit_ceil(std::max<size_t>(expected, 2))), pairCounts(kPairs) {
    shift = 64 - std::countr_zero(counts.size());
}

void GramCounts::add(const LiteralRuns& literals) {
    for (const auto& run : literals.all()) {
        for (uint32_t i = run.begin; i + 2 <= run.end; ++i) ++pairCounts[pairAt(literals.at(i))];
        for (uint32_t i = run.begin; i + width() <= run.end; ++i) {
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
    for (uint32_t i = 0; i + 2 <= width(); ++i)
        least = std::min(least, pairCounts[pairAt(gram + i)]);
    return least;
}

std::optional<Anchor> chooseAnchor(const LiteralRuns& literals, uint32_t grams,
                                   const GramCounts& counts) {
    // A gram that others share is worse than any that is only made of common pairs.
    constexpr uint64_t kCostOfOther = uint64_t{1} << 32;
    std::array<uint64_t, SignatureIndex::kAnchorRoom> costs;  // NOLINT: of each gram; filled below
    std::optional<Anchor> best;
    uint64_t bestCost = std::numeric_limits<uint64_t>::max();
    for (const auto& run : literals.all()) {
        for (uint32_t i = run.begin; i + counts.width() <= run.end; ++i) {
            const uint8_t* const gram = literals.at(i);
            costs[i] = counts.others(gram) * kCostOfOther + counts.rarestPair(gram);
            if (i - run.begin + 1 < grams) continue;
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
