// The kernel in AVX-512: 64 lanes, so a block is one vector, a comparison gives its mask at once,
// and VBMI2 has an instruction that moves the lanes of a mask together.

#include "scan/normalise/NormaliseForms.h"
#include "support/VectorTarget.h"

#ifdef __x86_64__

#include <bit>

namespace STREAMENGINE_SPACE {
namespace {

constexpr size_t kBlock = NormaliseKernel::kBlock;

ZVK_TARGET_AVX512 inline __mmask64 equal(__m512i v, char c) {
    return _mm512_cmpeq_epi8_mask(v, _mm512_set1_epi8(c));
}

ZVK_TARGET_AVX512 inline __mmask64 equalLetter(__m512i v, char small) {
    return equal(_mm512_or_si512(v, _mm512_set1_epi8(0x20)), small);
}

ZVK_TARGET_AVX512 inline __mmask64 spaces(__m512i v) {
    const __m512i table = _mm512_maskz_broadcast_i32x4(
        0xffff, _mm_loadu_si128(reinterpret_cast<const __m128i*>(kSpaceByLowBits)));
    return _mm512_cmpeq_epi8_mask(_mm512_shuffle_epi8(table, v), v);
}

/// Compresses in the register: the form that writes to memory is many times slower on Zen 4.
ZVK_TARGET_AVX512 inline char* writeBlock(__m512i v, uint64_t keep, char* out) {
    const __m512i above = _mm512_sub_epi8(v, _mm512_set1_epi8('A'));
    const __mmask64 upper = _mm512_cmplt_epu8_mask(above, _mm512_set1_epi8(26));
    const __m512i lowered = _mm512_mask_add_epi8(v, upper, v, _mm512_set1_epi8(0x20));
    _mm512_storeu_si512(out, _mm512_maskz_compress_epi8(keep, lowered));
    return out + std::popcount(keep);
}

ZVK_TARGET_AVX512 size_t dropSpace(const char* text, size_t blockCount, char* out) {
    char* end = out;
    for (; blockCount != 0; --blockCount, text += kBlock) {
        const __m512i v = _mm512_loadu_si512(text);
        end = writeBlock(v, ~spaces(v), end);
    }
    return static_cast<size_t>(end - out);
}

ZVK_TARGET_AVX512 void markBlocks(const char* text, size_t blockCount, BlockMarks* marks) {
    for (; blockCount != 0; --blockCount, ++marks, text += kBlock) {
        const __m512i v = _mm512_loadu_si512(text);
        const __m512i second = _mm512_loadu_si512(text + 1);
        const __m512i third = _mm512_loadu_si512(text + 2);
        const uint64_t open = equal(v, '<');
        const uint64_t anchor = open & equalLetter(second, 'a');
        const uint64_t script = equalLetter(second, 's') & equalLetter(third, 'c');
        marks->open = open;
        marks->close = equal(v, '>');
        marks->space = spaces(v);
        marks->anchor = anchor;
        marks->rare = (open & (equal(second, '!') | script)) | (anchor & equal(third, '-'));
    }
}

ZVK_TARGET_AVX512 size_t writeKept(const char* text, const uint64_t* keep, size_t blockCount,
                                   char* out) {
    char* end = out;
    for (size_t i = 0; i < blockCount; ++i) {
        end = writeBlock(_mm512_loadu_si512(text + i * kBlock), keep[i], end);
    }
    return static_cast<size_t>(end - out);
}

}  // namespace

constexpr NormaliseKernel kNormaliseAvx512 = {dropSpace, markBlocks, writeKept};

}  // namespace STREAMENGINE_SPACE

#endif
