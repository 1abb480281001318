#include "TextBlocks.h"

#include <cstring>

#ifdef __x86_64__

#include <immintrin.h>

#include <array>
#include <bit>
#include <cstdint>

namespace {

constexpr int kBlock = 16;  // bytes

const bool kHasShuffle =
    __builtin_cpu_supports("ssse3") != 0 && __builtin_cpu_supports("popcnt") != 0;

/// By the bits of eight bytes to drop: the indices of the others, for a shuffle.
constexpr auto kOrders = [] {
    std::array<std::array<uint8_t, 8>, 256> orders{};
    for (size_t dropped = 0; dropped < orders.size(); ++dropped) {
        size_t count = 0;
        for (uint8_t i = 0; i < 8; ++i) {
            if ((dropped >> i & 1) == 0) orders[dropped][count++] = i;
        }
    }
    return orders;
}();

__m128i load(const char* from) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}

/// @return a bit for each byte of a mask
unsigned int bitsOf(__m128i mask) {
    return static_cast<unsigned int>(_mm_movemask_epi8(mask));
}

/// @return a mask of the bytes from least to least + count - 1; count is at most 127
__m128i between(__m128i block, char least, int count) {
    const __m128i shifted = _mm_sub_epi8(block, _mm_set1_epi8(static_cast<char>(least + 128)));
    return _mm_cmplt_epi8(shifted, _mm_set1_epi8(static_cast<char>(count - 128)));
}

unsigned int spacesOf(__m128i block) {
    return bitsOf(_mm_or_si128(between(block, '\t', 5), _mm_cmpeq_epi8(block, _mm_set1_epi8(' '))));
}

__m128i lowered(__m128i block) {
    return _mm_or_si128(block, _mm_and_si128(between(block, 'A', 26), _mm_set1_epi8(0x20)));
}

/// Writes those of the first eight bytes that are not dropped, and then any bytes up to eight.
/// @return the end of what is written
__attribute__((target("ssse3,popcnt"))) char* keepEight(__m128i bytes, unsigned int dropped,
                                                        char* out) {
    const auto* order = reinterpret_cast<const __m128i*>(kOrders[dropped].data());
    const __m128i kept = _mm_shuffle_epi8(bytes, _mm_loadl_epi64(order));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out), kept);
    return out + 8 - std::popcount(dropped);
}

__attribute__((target("ssse3,popcnt"))) bool keepWithShuffles(const char*& in, const char* inEnd,
                                                              char stop, char*& written) {
    const char* from = in;
    char* out = written;
    unsigned int stops = 0;
    while (stops == 0 && inEnd - from >= kBlock) {
        const __m128i block = load(from), kept = lowered(block);
        stops = bitsOf(_mm_cmpeq_epi8(block, _mm_set1_epi8(stop)));
        const int count = stops == 0 ? kBlock : std::countr_zero(stops) + 1;
        const unsigned int dropped = (spacesOf(block) | (~1U << (count - 1))) & 0xFFFF;
        out = keepEight(kept, dropped & 0xFF, out);
        out = keepEight(_mm_srli_si128(kept, 8), dropped >> 8, out);
        from += count;
    }
    in = from;
    written = out;
    return stops != 0;
}

}  // namespace

bool keepBlocks(const char*& in, const char* inEnd, char stop, char*& written) {
    return kHasShuffle && keepWithShuffles(in, inEnd, stop, written);
}

#else

bool keepBlocks(const char*& /*in*/, const char* /*inEnd*/, char /*stop*/, char*& /*written*/) {
    return false;
}

#endif

const char* findByte(const char* in, const char* inEnd, char c) {
#ifdef __x86_64__
    // Most runs are too short to be worth a call of memchr().
    if (inEnd - in >= kBlock) {
        const unsigned int found = bitsOf(_mm_cmpeq_epi8(load(in), _mm_set1_epi8(c)));
        if (found != 0) return in + std::countr_zero(found);
    }
#endif
    const void* found = std::memchr(in, c, static_cast<size_t>(inEnd - in));
    return found != nullptr ? static_cast<const char*>(found) : inEnd;
}
