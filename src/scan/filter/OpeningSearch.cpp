#include "scan/filter/OpeningSearch.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>

#include "scan/filter/FilterTag.h"
#include "support/Ascii.h"
#include "support/VectorTarget.h"

namespace STREAMENGINE_SPACE {
namespace {

using QLT_SPACE::lowered;

/// @param tag  a "<" that counts, followed by two bytes
/// @return the bytes that it consumes as text, itself included; 0 if a filtered tag may open
uint32_t consumedBy(const char* tag, uint8_t mode) {
    const FilterTag& candidate = filterDelTag[candidateTag(tag[1], mode)];
    if (lowered(tag[2]) == candidate.opening[2]) return 0;
    return candidate.modeMask != 0 ? 3 : 2;
}

/// The scalar form, and the end of the other one: from "<" to "<".
const char* findScalar(const char* text, const char* end, uint8_t mode) {
    while (text < end) {
        const void* found = std::memchr(text, '<', static_cast<size_t>(end - text));
        if (found == nullptr) return end;
        text = static_cast<const char*>(found);
        if (end - text < 3) return text;
        const uint32_t consumed = consumedBy(text, mode);
        if (consumed == 0) return text;
        text += consumed;
    }
    return end;
}

#ifdef __SSE2__

// The vector form. A page has a "<" every twenty or thirty bytes, and hardly any of them opens a
// filtered tag. The scalar form stops at each of them. This one tests 16 positions at once for a
// "<" with the right letters after it and stops at those alone.
//
// Comparing the two letters with those of six names would take twelve comparisons. Instead the two
// letters, their case bits set, are added up. The sums of the six names lie in a small range: from
// "ob" (object), 0x6f + 0x62 = 0xd1, to "no" (noscript), 0x6e + 0x6f = 0xdd. Of "<a ", "</", "<p>",
// "<span", "<div" and "<b>" none lies in it. A sum in the range only makes a candidate: the scalar
// test decides.
//
// Whether a candidate counts depends on the "<" before it, which this form did not examine. Only
// for a candidate is that made up for, see skipConsumed().
//
// The form is exact: the range holds every name, so each place that the scalar form could return is
// a candidate, and the last bytes of text are left to the scalar form. A block costs three loads
// and some ten operations. skipConsumed() goes back over the chain of "<" right before a candidate;
// the two letters after the candidate end that chain, so no "<" is passed twice.

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

/// @return a bit for each of 16 bytes that is a "<" followed by a pair in the range; two bytes more
///         are read
uint32_t candidates(const char* block) {
    const auto load = [](const char* from) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    };
    const __m128i caseBit = _mm_set1_epi8(0x20);
    const __m128i sum = _mm_add_epi8(_mm_or_si128(load(block + 1), caseBit),
                                     _mm_or_si128(load(block + 2), caseBit));
    const __m128i above = _mm_sub_epi8(sum, _mm_set1_epi8(static_cast<char>(kLeastSum)));
    const __m128i inRange =
        _mm_cmpeq_epi8(_mm_min_epu8(above, _mm_set1_epi8(kMostSum - kLeastSum)), above);
    const __m128i isTag = _mm_cmpeq_epi8(load(block), _mm_set1_epi8('<'));
    return static_cast<uint32_t>(_mm_movemask_epi8(_mm_and_si128(isTag, inRange)));
}

/// Finds out whether a "<" before a position consumes it. A byte can only be consumed by a "<" one
/// or two bytes before it, so the search goes back from "<" to "<" in such steps. If it reaches a
/// byte with no "<" one or two bytes before it, that byte is not consumed. From there it goes
/// forward by the scalar rule. Example: for the second "<" of "x<<script" it goes back to the first
/// one. That one consumes two bytes, so the answer is the "s".
/// @param text      as in OpeningSearch
/// @param position  a place in text before which no tag opens
/// @return position, or a place up to two bytes after it if a "<" before it consumes it
const char* skipConsumed(const char* text, const char* position, uint8_t mode) {
    const char* from = position;
    while (true) {
        if (from - text >= 1 && from[-1] == '<') {
            from -= 1;
        } else if (from - text >= 2 && from[-2] == '<') {
            from -= 2;
        } else {
            break;
        }
    }
    while (from < position) from += *from == '<' ? consumedBy(from, mode) : 1;
    return from;
}

const char* findSse2(const char* text, const char* end, uint8_t mode) {
    constexpr std::ptrdiff_t kStep = 16;
    const char* block = text;
    for (; end - block >= kStep + 2; block += kStep) {
        for (uint32_t bits = candidates(block); bits != 0; bits &= bits - 1) {
            const char* const tag = block + std::countr_zero(bits);
            if (consumedBy(tag, mode) != 0) continue;
            text = skipConsumed(text, tag, mode);
            if (text == tag) return tag;
        }
    }
    return findScalar(skipConsumed(text, block, mode), end, mode);
}

#endif

}  // namespace

OpeningSearch openingSearch([[maybe_unused]] QLT_SPACE::VectorUnit unit) {
#ifdef __SSE2__
    if (!isScalar(unit)) return findSse2;
#endif
    return findScalar;
}

}  // namespace STREAMENGINE_SPACE
