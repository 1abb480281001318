#include "scan/normalise/NormaliseKernel.h"

#include <array>
#include <bit>

#include "support/VectorTarget.h"

namespace STREAMENGINE_SPACE {
namespace {

constexpr size_t kBlock = NormaliseKernel::kBlock;

#ifdef __SSE2__

namespace sse2 {

__m128i load(const char* text) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
}

__m128i equal(__m128i v, char c) {
    return _mm_cmpeq_epi8(v, _mm_set1_epi8(c));
}

__m128i equalLetter(__m128i v, char small) {
    return equal(_mm_or_si128(v, _mm_set1_epi8(0x20)), small);
}

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

/// Copies what is kept run by run, 16 bytes at a time.
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

size_t stripSpace(const char* text, size_t blockCount, char* out) {
    char* at = out;
    for (; blockCount != 0; --blockCount, text += kBlock) {
        uint64_t space = 0;
        for (size_t i = 0; i < kBlock; i += 16) space |= bits(spaces(load(text + i))) << i;
        at = writeBlock(text, ~space, at);
    }
    return static_cast<size_t>(at - out);
}

void mark(const char* text, size_t blockCount, BlockMarks* marks) {
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
    char* at = out;
    for (size_t i = 0; i < blockCount; ++i) at = writeBlock(text + i * kBlock, keep[i], at);
    return static_cast<size_t>(at - out);
}

}  // namespace sse2

constexpr NormaliseKernel kBaseline = {sse2::stripSpace, sse2::mark, sse2::writeKept};

#endif

#ifdef __x86_64__

// For each mask of 8 bytes the places of those that are kept, in front.
constexpr auto kKeptPlaces = [] {
    std::array<std::array<uint8_t, 8>, 256> places{};
    for (size_t mask = 0; mask < places.size(); ++mask) {
        size_t count = 0;
        for (uint8_t i = 0; i < 8; ++i) {
            if ((mask >> i & 1) != 0) places[mask][count++] = i;
        }
    }
    return places;
}();

// White space by its low four bits, which all differ; elsewhere stands what no byte that is looked
// up there equals: those from 0x80 on give 0.
constexpr std::array<char, 16> kSpaces = {' ', -1,   -1,   -1,   -1,   -1,   -1, -1,
                                          -1,  '\t', '\n', '\v', '\f', '\r', -1, -1};

namespace avx2 {

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
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(kSpaces.data())));
    return _mm256_cmpeq_epi8(_mm256_shuffle_epi8(table, v), v);
}

ZVK_TARGET_AVX2 inline uint64_t bits(__m256i lanes) {
    return static_cast<uint32_t>(_mm256_movemask_epi8(lanes));
}

ZVK_TARGET_AVX2 inline __m256i lowered(__m256i v) {
    const __m256i above = _mm256_sub_epi8(v, _mm256_set1_epi8('A'));
    const __m256i upper = _mm256_cmpeq_epi8(_mm256_min_epu8(above, _mm256_set1_epi8(25)), above);
    return _mm256_or_si256(v, _mm256_and_si256(upper, _mm256_set1_epi8(0x20)));
}

/// Writes what is kept of 16 bytes, 8 and 8.
ZVK_TARGET_AVX2 inline char* write16(__m128i v, uint64_t keep, char* out) {
    const uint64_t first = keep & 0xff;
    const uint64_t second = keep >> 8 & 0xff;
    const __m128i places = _mm_unpacklo_epi64(
        _mm_loadl_epi64(reinterpret_cast<const __m128i*>(kKeptPlaces[first].data())),
        _mm_loadl_epi64(reinterpret_cast<const __m128i*>(kKeptPlaces[second].data())));
    const __m128i kept =
        _mm_shuffle_epi8(v, _mm_or_si128(places, _mm_set_epi64x(0x0808080808080808, 0)));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out), kept);
    out += std::popcount(first);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out), _mm_unpackhi_epi64(kept, kept));
    return out + std::popcount(second);
}

ZVK_TARGET_AVX2 inline char* write32(__m256i v, uint64_t keep, char* out) {
    out = write16(_mm256_castsi256_si128(v), keep, out);
    return write16(_mm256_extracti128_si256(v, 1), keep >> 16, out);
}

ZVK_TARGET_AVX2 size_t stripSpace(const char* text, size_t blockCount, char* out) {
    char* at = out;
    for (size_t i = 0; i < blockCount * kBlock; i += 32) {
        const __m256i v = load(text + i);
        at = write32(lowered(v), ~bits(spaces(v)), at);
    }
    return static_cast<size_t>(at - out);
}

ZVK_TARGET_AVX2 void mark(const char* text, size_t blockCount, BlockMarks* marks) {
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
    char* at = out;
    for (size_t i = 0; i < blockCount; ++i, text += kBlock) {
        at = write32(lowered(load(text)), keep[i], at);
        at = write32(lowered(load(text + 32)), keep[i] >> 32, at);
    }
    return static_cast<size_t>(at - out);
}

}  // namespace avx2

constexpr NormaliseKernel kAvx2 = {avx2::stripSpace, avx2::mark, avx2::writeKept};

namespace avx512 {

ZVK_TARGET_AVX512 inline __mmask64 equal(__m512i v, char c) {
    return _mm512_cmpeq_epi8_mask(v, _mm512_set1_epi8(c));
}

ZVK_TARGET_AVX512 inline __mmask64 equalLetter(__m512i v, char small) {
    return equal(_mm512_or_si512(v, _mm512_set1_epi8(0x20)), small);
}

ZVK_TARGET_AVX512 inline __mmask64 spaces(__m512i v) {
    const __m512i table = _mm512_maskz_broadcast_i32x4(
        0xffff, _mm_loadu_si128(reinterpret_cast<const __m128i*>(kSpaces.data())));
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

ZVK_TARGET_AVX512 size_t stripSpace(const char* text, size_t blockCount, char* out) {
    char* at = out;
    for (; blockCount != 0; --blockCount, text += kBlock) {
        const __m512i v = _mm512_loadu_si512(text);
        at = writeBlock(v, ~spaces(v), at);
    }
    return static_cast<size_t>(at - out);
}

ZVK_TARGET_AVX512 void mark(const char* text, size_t blockCount, BlockMarks* marks) {
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
    char* at = out;
    for (size_t i = 0; i < blockCount; ++i) {
        at = writeBlock(_mm512_loadu_si512(text + i * kBlock), keep[i], at);
    }
    return static_cast<size_t>(at - out);
}

}  // namespace avx512

constexpr NormaliseKernel kAvx512 = {avx512::stripSpace, avx512::mark, avx512::writeKept};

#endif

}  // namespace

const NormaliseKernel* normaliseKernel(QLT_SPACE::VectorUnit kernel) {
    switch (kernel) {
#ifdef __x86_64__
        case QLT_SPACE::VectorUnit::Avx512:
            return &kAvx512;
        case QLT_SPACE::VectorUnit::Avx2:
            return &kAvx2;
#endif
#ifdef __SSE2__
        case QLT_SPACE::VectorUnit::Baseline:
            return &kBaseline;
#endif
        default:
            return nullptr;
    }
}

}  // namespace STREAMENGINE_SPACE
