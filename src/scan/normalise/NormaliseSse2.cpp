// The kernel in SSE2, which every x86-64 machine has: 16 lanes.
//
// SSE2 has neither a shuffle by table nor a compress, so white space is found by comparing ranges,
// and what is kept is copied stretch by stretch, see writeBlock().

#include "scan/normalise/NormaliseForms.h"
#include "support/VectorTarget.h"

#ifdef __SSE2__

#include <bit>

namespace STREAMENGINE_SPACE {
namespace {

constexpr size_t kBlock = NormaliseKernel::kBlock;

__m128i load(const char* text) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
}

__m128i equal(__m128i v, char c) {
    return _mm_cmpeq_epi8(v, _mm_set1_epi8(c));
}

__m128i equalLetter(__m128i v, char small) {
    return equal(_mm_or_si128(v, _mm_set1_epi8(0x20)), small);
}

/// There is no comparison of unsigned lanes. Less `first`, the lanes of the range are the smallest
/// ones, as those below it wrap around; and x <= most is min(x, most) == x.
/// @return the lanes in [first, first + most]
__m128i inRange(__m128i v, char first, char most) {
    const __m128i above = _mm_sub_epi8(v, _mm_set1_epi8(first));
    return _mm_cmpeq_epi8(_mm_min_epu8(above, _mm_set1_epi8(most)), above);
}

__m128i lowered(__m128i v) {
    return _mm_or_si128(v, _mm_and_si128(inRange(v, 'A', 25), _mm_set1_epi8(0x20)));
}

__m128i spaces(__m128i v) {
    return _mm_or_si128(inRange(v, '\t', 4), equal(v, ' '));
}

uint64_t bits(__m128i lanes) {
    return static_cast<uint32_t>(_mm_movemask_epi8(lanes));
}

/// Copies each stretch of kept bytes, 16 at a time; what is copied too much is overwritten by the
/// next stretch. Pays because kept bytes come in words and tags, not one by one.
///
/// The lowest stretch begins at the lowest 1 of keep and is as long as the 1s from there on. Adding
/// that lowest 1 carries through the stretch and leaves 0s there; the one bit that it sets beyond
/// is a 0 of keep. Example, lowest bit first: 0110100 + 0100000 = 0001100, and with keep 0000100.
char* writeBlock(const char* text, uint64_t keep, char* out) {
    while (keep != 0) {
        const int start = std::countr_zero(keep);
        const int length = std::countr_one(keep >> start);
        for (int i = 0; i < length; i += 16) {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), lowered(load(text + start + i)));
        }
        out += length;
        keep &= keep + (uint64_t{1} << start);
    }
    return out;
}

size_t dropSpace(const char* text, size_t blockCount, char* out) {
    char* end = out;
    for (; blockCount != 0; --blockCount, text += kBlock) {
        uint64_t space = 0;
        for (size_t i = 0; i < kBlock; i += 16) space |= bits(spaces(load(text + i))) << i;
        end = writeBlock(text, ~space, end);
    }
    return static_cast<size_t>(end - out);
}

void markBlocks(const char* text, size_t blockCount, BlockMarks* marks) {
    for (; blockCount != 0; --blockCount, ++marks) {
        *marks = {};
        for (size_t i = 0; i < kBlock; i += 16, text += 16) {
            const __m128i v = load(text);
            const __m128i second = load(text + 1);
            const __m128i third = load(text + 2);
            const __m128i open = equal(v, '<');
            const __m128i anchor = _mm_and_si128(open, equalLetter(second, 'a'));
            const __m128i script = _mm_and_si128(equalLetter(second, 's'), equalLetter(third, 'c'));
            const __m128i rare =
                _mm_or_si128(_mm_and_si128(open, _mm_or_si128(equal(second, '!'), script)),
                             _mm_and_si128(anchor, equal(third, '-')));
            marks->open |= bits(open) << i;
            marks->close |= bits(equal(v, '>')) << i;
            marks->space |= bits(spaces(v)) << i;
            marks->anchor |= bits(anchor) << i;
            marks->rare |= bits(rare) << i;
        }
    }
}

size_t writeKept(const char* text, const uint64_t* keep, size_t blockCount, char* out) {
    char* end = out;
    for (size_t i = 0; i < blockCount; ++i) end = writeBlock(text + i * kBlock, keep[i], end);
    return static_cast<size_t>(end - out);
}

}  // namespace

constexpr NormaliseKernel kNormaliseSse2 = {dropSpace, markBlocks, writeKept};

}  // namespace STREAMENGINE_SPACE

#endif
