#include "store/index/RunTable.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <algorithm>
#include <bit>

namespace STREAMENGINE_SPACE {
namespace {

constexpr size_t kFilterBitsPerGram = 16;
constexpr size_t kLeastLines = 16;
constexpr size_t kGramsPerLineOnAverage = 5;
constexpr int kMostPrintBitsInFilter = 15;

int shiftFor(size_t slots) {
    return 64 - std::countr_zero(slots);
}

}  // namespace

void RunTable::build(const std::vector<Gram>& entries) {
    if (entries.empty()) return;
    const size_t lineCount =
        std::bit_ceil(std::max(kLeastLines, entries.size() / kGramsPerLineOnAverage));
    const size_t bits =
        std::bit_ceil(std::max(64 * kLeastLines, std::min(entries.size() * kFilterBitsPerGram,
                                                          lineCount << kMostPrintBitsInFilter)));
    lines.resize(lineCount);
    base.assign(bits / 64, 0);
    lineShift = shiftFor(lineCount);
    filterShift = shiftFor(bits);
    for (const Gram& gram : entries) enter(gram);
}

void RunTable::enter(const Gram& gram) {
    const uint32_t bit = bitOf(gram.hash);
    if (gram.counts) base[bit / 64] |= uint64_t{1} << (bit % 64);
    auto number = static_cast<size_t>(gram.hash >> lineShift);
    while (lines[number].next() != 0) number = lines[number].next();
    if (lines[number].count() == kGramsPerLine) {
        lines[number].countAndNext += 16 * static_cast<uint32_t>(lines.size());
        number = lines.size();
        lines.emplace_back();
    }
    Line& line = lines[number];
    line.prints[line.count()] = printOf(gram.hash);
    line.values[line.count()] = gram.value;
    ++line.countAndNext;
}

uint32_t RunTable::Line::withPrint(uint16_t print) const {
    uint32_t equal = 0;
#ifdef __SSE2__
    const __m128i sought = _mm_set1_epi16(static_cast<int16_t>(print));
    const __m128i first = _mm_load_si128(reinterpret_cast<const __m128i*>(prints.data()));
    // The last two fingerprints, and values behind them that the count rules out.
    const __m128i last = _mm_loadu_si128(reinterpret_cast<const __m128i*>(prints.data() + 8));
    const __m128i both =
        _mm_packs_epi16(_mm_cmpeq_epi16(first, sought), _mm_cmpeq_epi16(last, sought));
    equal = static_cast<uint32_t>(_mm_movemask_epi8(both));
#else
    for (uint32_t i = 0; i < kGramsPerLine; ++i) equal |= (prints[i] == print ? 1U : 0U) << i;
#endif
    return equal & ((1U << count()) - 1);
}

}  // namespace STREAMENGINE_SPACE
