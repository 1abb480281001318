#include "scan/index/ShapeProbe.h"

#include "support/VectorTarget.h"

namespace STREAMENGINE_SPACE {
namespace {

void probePairs(const ShapeTable& shapes, const uint8_t* text, uint32_t blocks, ProbeMarks* marks) {
    const uint64_t* const pairs = shapes.pairBits().data();
    for (uint32_t block = 0; block < blocks; ++block, text += kProbeBlock) {
        uint64_t found = 0;
        for (uint32_t at = 0; at < kProbeBlock; ++at) {
            const uint32_t pair = ShapeTable::pairAt(text + at);
            found |= (pairs[pair / 64] >> (pair % 64) & 1) << at;
        }
        marks[block].pairs = found;
    }
}

#ifdef ZVK_TARGET_AVX512
ZVK_TARGET_AVX2 inline __m256i twice(const ByteClasses::HalfTable& half) {
    return _mm256_broadcastsi128_si256(
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(half.data())));
}

/// @return the classes that each of 32 bytes may have at a place
ZVK_TARGET_AVX2 inline __m256i classesOf(const ByteClasses& classes, uint32_t place,
                                         const uint8_t* text) {
    const __m256i half = _mm256_set1_epi8(0xF);
    const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text + place));
    const __m256i high = _mm256_and_si256(_mm256_srli_epi16(bytes, 4), half);
    return _mm256_and_si256(
        _mm256_shuffle_epi8(twice(classes.lowHalves(place)), _mm256_and_si256(bytes, half)),
        _mm256_shuffle_epi8(twice(classes.highHalves(place)), high));
}

ZVK_TARGET_AVX2 inline uint32_t marksOf(const ByteClasses& classes, const uint8_t* at) {
    const __m256i common =
        _mm256_and_si256(_mm256_and_si256(classesOf(classes, 0, at), classesOf(classes, 1, at)),
                         _mm256_and_si256(classesOf(classes, 2, at), classesOf(classes, 3, at)));
    const __m256i none = _mm256_cmpeq_epi8(common, _mm256_setzero_si256());
    return ~static_cast<uint32_t>(_mm256_movemask_epi8(none));
}

ZVK_TARGET_AVX2 void probeAvx2(const ShapeTable& shapes, const uint8_t* text, uint32_t blocks,
                               ProbeMarks* marks) {
    const ByteClasses& classes = shapes.classes();
    for (uint32_t block = 0; block < blocks; ++block, text += kProbeBlock) {
        marks[block].pairs = marksOf(classes, text) | uint64_t{marksOf(classes, text + 32)} << 32;
    }
}

/// @return the classes that each of 64 bytes may have at a place
ZVK_TARGET_AVX512 inline __m512i allClassesOf(const ByteClasses& classes, uint32_t place,
                                              const uint8_t* text) {
    const uint8_t* const table = classes.whole(place).data();
    const __m512i bytes = _mm512_loadu_si512(text + place);
    const __m512i below =
        _mm512_permutex2var_epi8(_mm512_load_si512(table), bytes, _mm512_load_si512(table + 64));
    const __m512i above = _mm512_permutex2var_epi8(_mm512_load_si512(table + 128), bytes,
                                                   _mm512_load_si512(table + 192));
    return _mm512_mask_blend_epi8(_mm512_movepi8_mask(bytes), below, above);
}

ZVK_TARGET_AVX512 void probeAvx512(const ShapeTable& shapes, const uint8_t* text, uint32_t blocks,
                                   ProbeMarks* marks) {
    const ByteClasses& classes = shapes.classes();
    for (uint32_t block = 0; block < blocks; ++block, text += kProbeBlock) {
        const __m512i first =
            _mm512_and_si512(allClassesOf(classes, 0, text), allClassesOf(classes, 1, text));
        const __m512i second =
            _mm512_and_si512(allClassesOf(classes, 2, text), allClassesOf(classes, 3, text));
        marks[block].pairs = _mm512_test_epi8_mask(first, second);
    }
}
#endif

}  // namespace

void probeShapes(const ShapeTable& shapes, [[maybe_unused]] QLT_SPACE::VectorUnit unit,
                 const uint8_t* text, uint32_t blocks, ProbeMarks* marks) {
#ifdef ZVK_TARGET_AVX512
    if (unit == QLT_SPACE::VectorUnit::Avx512) return probeAvx512(shapes, text, blocks, marks);
    if (unit == QLT_SPACE::VectorUnit::Avx2) return probeAvx2(shapes, text, blocks, marks);
#endif
    probePairs(shapes, text, blocks, marks);
}

}  // namespace STREAMENGINE_SPACE
