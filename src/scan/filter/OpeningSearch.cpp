#include "scan/filter/OpeningSearch.h"

#include <cstddef>
#include <cstring>

#include "scan/filter/FilterTag.h"
#include "support/Ascii.h"

#ifdef __SSE2__
#include <emmintrin.h>

#include <algorithm>
#include <bit>
#endif

namespace STREAMENGINE_SPACE {
namespace {

using QLT_SPACE::lowered;

/// @param tag  a "<" that counts, with two bytes behind it
/// @return the bytes that it takes along as text, itself included; 0 if a filtered tag may open
uint32_t textLength(const char* tag, uint8_t mode) {
    const FilterTag& candidate = filterDelTag[candidateTag(tag[1], mode)];
    if (lowered(tag[2]) == candidate.opening[2]) return 0;
    return candidate.modeMask != 0 ? 3 : 2;
}

#ifdef __SSE2__

// The first two letters of every name, added up, lie in a range that few other tags' do (of "<a ",
// "</", "<p>", "<span", "<div" and "<b>" none): one comparison of ranges stands for six of pairs.
constexpr uint8_t pairSum(char first, char second) {
    return static_cast<uint8_t>((static_cast<uint8_t>(first) | 0x20U) +
                                (static_cast<uint8_t>(second) | 0x20U));
}
constexpr uint8_t kLeastSum = pairSum('o', 'b');
constexpr uint8_t kMostSum = pairSum('n', 'o');

static_assert(std::all_of(filterDelTag.begin() + 1, filterDelTag.end(), [](const FilterTag& tag) {
    const uint8_t sum = pairSum(tag.opening[1], tag.opening[2]);
    return sum >= kLeastSum && sum <= kMostSum;
}));

/// @return a bit for each of the 16 bytes at `at` that is a "<" followed by a pair in the range;
///         two bytes more are read
uint32_t possibleOpenings(const char* at) {
    const auto load = [](const char* from) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    };
    const __m128i caseBit = _mm_set1_epi8(0x20);
    const __m128i sum =
        _mm_add_epi8(_mm_or_si128(load(at + 1), caseBit), _mm_or_si128(load(at + 2), caseBit));
    const __m128i above = _mm_sub_epi8(sum, _mm_set1_epi8(static_cast<char>(kLeastSum)));
    const __m128i inRange =
        _mm_cmpeq_epi8(_mm_min_epu8(above, _mm_set1_epi8(kMostSum - kLeastSum)), above);
    const __m128i isTag = _mm_cmpeq_epi8(load(at), _mm_set1_epi8('<'));
    return static_cast<uint32_t>(_mm_movemask_epi8(_mm_and_si128(isTag, inRange)));
}

/// @param text  where text begins, behind all that was taken before
/// @param at    a place in it; no tag opens in front of it
/// @return at, or the place just behind if a "<" in front of it takes it along
const char* settle(const char* text, const char* at, uint8_t mode) {
    const char* from = at;  // goes back to a "<" that none in front of it can take along
    while (true) {
        if (from - text >= 1 && from[-1] == '<') {
            from -= 1;
        } else if (from - text >= 2 && from[-2] == '<') {
            from -= 2;
        } else {
            break;
        }
    }
    while (from < at) from += *from == '<' ? textLength(from, mode) : 1;
    return from;
}

#endif

}  // namespace

const char* findOpeningPlain(const char* at, const char* end, uint8_t mode) {
    while (at < end) {
        const void* found = std::memchr(at, '<', static_cast<size_t>(end - at));
        if (found == nullptr) return end;
        at = static_cast<const char*>(found);
        if (end - at < 3) return at;
        const uint32_t length = textLength(at, mode);
        if (length == 0) return at;
        at += length;
    }
    return end;
}

#ifdef __SSE2__

const char* findOpening(const char* at, const char* end, uint8_t mode) {
    constexpr std::ptrdiff_t kStep = 16;
    const char* text = at;
    for (; end - at >= kStep + 2; at += kStep) {
        uint32_t possible = possibleOpenings(at);
        for (; possible != 0; possible &= possible - 1) {
            const char* const tag = at + std::countr_zero(possible);
            if (textLength(tag, mode) != 0) continue;
            // The letters behind it end the chain of "<" that is walked: none is walked twice.
            text = settle(text, tag, mode);
            if (text == tag) return tag;
        }
    }
    return findOpeningPlain(settle(text, at, mode), end, mode);
}

#else

const char* findOpening(const char* at, const char* end, uint8_t mode) {
    return findOpeningPlain(at, end, mode);
}

#endif

}  // namespace STREAMENGINE_SPACE
