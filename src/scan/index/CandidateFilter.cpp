#include "scan/index/CandidateFilter.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "scan/index/SearchCounts.h"
#include "scan/index/UnitComparison.h"

namespace STREAMENGINE_SPACE {

bool CandidateFilter::windowFits(const RunUnit& unit, const uint8_t* at) {
#ifdef __SSE2__
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
    const __m128i wanted = _mm_loadu_si128(reinterpret_cast<const __m128i*>(unit.bytes.data()));
    const auto equal = static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, wanted)));
    return (equal | unit.open) == 0xFFFF;
#else
    for (uint32_t i = 0; i < kWindow; ++i) {
        if (at[i] != unit.bytes[i] && (unit.open >> i & 1) == 0) return false;
    }
    return true;
#endif
}

void CandidateFilter::compare(uint32_t number, uint32_t start) {
    const IndexUnit& unit = index.units[number];
    const uint32_t rest = text.length - start;
    ZVK_COUNT(compared, 1);
    if (!matchesAt(unit, text.bytes + start, std::min(unit.length, rest))) return;
    if (unit.length > rest) {
        undecided = std::min(undecided, start);  // the next bytes decide
    } else {
        accept(number, start);
    }
}

void CandidateFilter::accept(uint32_t number, uint32_t start) {
    if (number < index.tree.unitCount()) return acceptPart(number, start);
    const IndexUnit& unit = index.units[number];
    if (!unit.pattern->beginsAt(text.offsetOf(start))) return;
    if (unit.kind() == UnitKind::PlainString) {
        others.push_back({text.offsetOf(start), number});
    } else {
        complete({start, index.rankOfSingle(number), &unit.trie()});
    }
}

void CandidateFilter::acceptPart(uint32_t number, uint32_t start) {
    if (live == nullptr) {
        others.push_back({text.offsetOf(start), number});
        return;
    }
    const uint32_t node = live->occur(number, text.offsetOf(start));
    if (node == kNoNode) return;
    complete({start, index.tree.node(node).completedRank, &index.tree.completedBy(node)});
}

void CandidateFilter::complete(const Completion& found) {
    const bool isFirst = found.start != completed.start ? found.start < completed.start
                                                        : found.rank < completed.rank;
    if (!isFirst) return;
    completed = found;
    lastGram = found.start + index.anchors.reach;
}

}  // namespace STREAMENGINE_SPACE
