// The kernel in AVX2: 32 lanes, and a shuffle by which both white space is found and what is kept
// is moved together.

#include "scan/normalise/NormaliseForms.h"
#include "support/VectorTarget.h"

#ifdef __x86_64__

#include <array>
#include <bit>

namespace STREAMENGINE_SPACE {
namespace {

constexpr size_t kBlock = NormaliseKernel::kBlock;

// For each mask of 8 bytes the indices of the kept ones, first to last; as a shuffle's control it
// moves these to the front. Example: mask 00101001, that is bytes 0, 3 and 5, has 0, 3, 5, 0, 0...
// One such table for 16 bytes would take a megabyte; this one takes 2 KiB and stays in the cache.
constexpr auto kKeptIndices = [] {
    std::array<std::array<uint8_t, 8>, 256> indices{};
    for (size_t mask = 0; mask < indices.size(); ++mask) {
        size_t count = 0;
        for (uint8_t i = 0; i < 8; ++i) {
            if ((mask >> i & 1) != 0) indices[mask][count++] = i;
        }
    }
    return indices;
}();

ZVK_TARGET_AVX2 inline __m256i load(const char* text) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text));
}

ZVK_TARGET_AVX2 inline __m256i equal(__m256i v, char c) {
    return _mm256_cmpeq_epi8(v, _mm256_set1_epi8(c));
}

ZVK_TARGET_AVX2 inline __m256i equalLetter(__m256i v, char small) {
    return equal(_mm256_or_si256(v, _mm256_set1_epi8(0x20)), small);
}

ZVK_TARGET_AVX2 inline __m256i spaces(__m256i v) {
    const __m256i table = _mm256_broadcastsi128_si256(
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(kSpaceByLowBits)));
    return _mm256_cmpeq_epi8(_mm256_shuffle_epi8(table, v), v);
}

ZVK_TARGET_AVX2 inline uint64_t bits(__m256i lanes) {
    return static_cast<uint32_t>(_mm256_movemask_epi8(lanes));
}

/// By the range test of the SSE2 form.
ZVK_TARGET_AVX2 inline __m256i lowered(__m256i v) {
    const __m256i above = _mm256_sub_epi8(v, _mm256_set1_epi8('A'));
    const __m256i upper = _mm256_cmpeq_epi8(_mm256_min_epu8(above, _mm256_set1_epi8(25)), above);
    return _mm256_or_si256(v, _mm256_and_si256(upper, _mm256_set1_epi8(0x20)));
}

/// Writes what is kept of 16 bytes. One shuffle moves the kept bytes of either half to the front of
/// that half, the upper half's indices raised by 8. Each half is then stored in full, the second
/// one where the kept bytes of the first one end.
ZVK_TARGET_AVX2 inline char* write16(__m128i v, uint64_t keep, char* out) {
    const uint64_t first = keep & 0xff;
    const uint64_t second = keep >> 8 & 0xff;
    const __m128i indices = _mm_unpacklo_epi64(
        _mm_loadl_epi64(reinterpret_cast<const __m128i*>(kKeptIndices[first].data())),
        _mm_loadl_epi64(reinterpret_cast<const __m128i*>(kKeptIndices[second].data())));
    const __m128i kept =
        _mm_shuffle_epi8(v, _mm_or_si128(indices, _mm_set_epi64x(0x0808080808080808, 0)));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out), kept);
    out += std::popcount(first);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out), _mm_unpackhi_epi64(kept, kept));
    return out + std::popcount(second);
}

ZVK_TARGET_AVX2 inline char* write32(__m256i v, uint64_t keep, char* out) {
    out = write16(_mm256_castsi256_si128(v), keep, out);
    return write16(_mm256_extracti128_si256(v, 1), keep >> 16, out);
}

ZVK_TARGET_AVX2 size_t dropSpace(const char* text, size_t blockCount, char* out) {
    char* end = out;
    for (size_t i = 0; i < blockCount * kBlock; i += 32) {
        const __m256i v = load(text + i);
        end = write32(lowered(v), ~bits(spaces(v)), end);
    }
    return static_cast<size_t>(end - out);
}

ZVK_TARGET_AVX2 void markBlocks(const char* text, size_t blockCount, BlockMarks* marks) {
    for (; blockCount != 0; --blockCount, ++marks) {
        *marks = {};
        for (size_t i = 0; i < kBlock; i += 32, text += 32) {
            const __m256i v = load(text);
            const __m256i second = load(text + 1);
            const __m256i third = load(text + 2);
            const __m256i open = equal(v, '<');
            const __m256i anchor = _mm256_and_si256(open, equalLetter(second, 'a'));
            const __m256i script =
                _mm256_and_si256(equalLetter(second, 's'), equalLetter(third, 'c'));
            const __m256i rare =
                _mm256_or_si256(_mm256_and_si256(open, _mm256_or_si256(equal(second, '!'), script)),
                                _mm256_and_si256(anchor, equal(third, '-')));
            marks->open |= bits(open) << i;
            marks->close |= bits(equal(v, '>')) << i;
            marks->space |= bits(spaces(v)) << i;
            marks->anchor |= bits(anchor) << i;
            marks->rare |= bits(rare) << i;
        }
    }
}

ZVK_TARGET_AVX2 size_t writeKept(const char* text, const uint64_t* keep, size_t blockCount,
                                 char* out) {
    char* end = out;
    for (size_t i = 0; i < blockCount; ++i, text += kBlock) {
        end = write32(lowered(load(text)), keep[i], end);
        end = write32(lowered(load(text + 32)), keep[i] >> 32, end);
    }
    return static_cast<size_t>(end - out);
}

}  // namespace

constexpr NormaliseKernel kNormaliseAvx2 = {dropSpace, markBlocks, writeKept};

}  // namespace STREAMENGINE_SPACE

#endif
