// MD5Steps: how a block of a message changes the state of an MD5 (RFC 1321, section 3.4).
//
// Each of the 64 steps needs the result of the step before it. So MD5 is one chain of dependent
// operations and leaves most of the processor's execution units idle. Other work on the same text,
// whose operations do not depend on each other, can use them: fold() calls `aside` after each
// fourth step, and the processor overlaps both. Such work then takes hardly any time of its own.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace QLT_SPACE::MD5Steps {

// RFC 1321, section 3.4: floor(2^32 * abs(sin(i + 1))) for step i, and each round's rotations.
inline constexpr std::array<uint32_t, 64> kSine = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};
inline constexpr int kRotation[4][4] = {
    {7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

[[gnu::always_inline]] inline uint32_t loadLittleEndian(const unsigned char* bytes) {
    return static_cast<uint32_t>(bytes[0]) | static_cast<uint32_t>(bytes[1]) << 8 |
           static_cast<uint32_t>(bytes[2]) << 16 | static_cast<uint32_t>(bytes[3]) << 24;
}

/// Keeps the compiler from reordering a sum: the terms added so far are added before later ones.
[[gnu::always_inline]] inline void addedFirst([[maybe_unused]] uint32_t& sum) {
#ifdef __GNUC__
    asm("" : "+r"(sum));
#endif
}

// A step is b + rotate(a + f(b, c, d) + word + constant). Of these, b alone comes from the step
// right before; the others are older. The time of the whole chain is the time from one b to the
// next, so as few operations as possible should come after b is known:
// - The terms without b are added first.
// - The second round's (b & d) | (c & ~d) is split. Its halves never share a 1 bit, so OR is the
//   same as addition, and c & ~d belongs to the terms without b.
// - The first round's (b & c) | (~b & d) is d ^ (b & (c ^ d)): two operations after b, not three.
template <int kStep>
[[gnu::always_inline]] inline void step(uint32_t (&v)[4], const unsigned char* block) {
    constexpr int kRound = kStep / 16;
    constexpr int kWord = (kRound == 0   ? kStep
                           : kRound == 1 ? 5 * kStep + 1
                           : kRound == 2 ? 3 * kStep + 5
                                         : 7 * kStep) %
                          16;
    // The RFC renames a, b, c, d after each step. The indices rotate here; the values stay.
    constexpr int kA = (64 - kStep) % 4;
    const uint32_t b = v[(kA + 1) % 4];
    const uint32_t c = v[(kA + 2) % 4];
    const uint32_t d = v[(kA + 3) % 4];
    uint32_t sum = v[kA] + loadLittleEndian(block + size_t{4} * kWord) + kSine[kStep];
    if constexpr (kRound == 1) sum += c & ~d;
    addedFirst(sum);
    if constexpr (kRound == 0) sum += d ^ (b & (c ^ d));
    if constexpr (kRound == 1) sum += b & d;
    if constexpr (kRound == 2) sum += b ^ c ^ d;
    if constexpr (kRound == 3) sum += c ^ (b | ~d);
    v[kA] = b + std::rotl(sum, kRotation[kRound][kStep % 4]);
}

// Inlined, or GCC passes the four values through memory for each block.
template <int... kSteps>
[[gnu::always_inline]] inline void allSteps(uint32_t (&v)[4], const unsigned char* block,
                                            const auto& aside,
                                            std::integer_sequence<int, kSteps...> /*steps*/) {
    ((step<kSteps>(v, block), kSteps % 4 == 3 ? aside(kSteps / 4) : void()), ...);
}

/// Folds blockCount blocks of 64 bytes into state.
/// @param aside  called as aside(block, quarter), quarter from 0 to 15, after each fourth step; has
///               to be inlined to overlap
template <class Aside>
[[gnu::always_inline]] inline void fold(std::array<uint32_t, 4>& state, const unsigned char* blocks,
                                        size_t blockCount, const Aside& aside) {
    uint32_t v[4] = {state[0], state[1], state[2], state[3]};
    for (size_t block = 0; block < blockCount; ++block, blocks += 64) {
        const uint32_t before[4] = {v[0], v[1], v[2], v[3]};
        const auto ofBlock = [&](size_t quarter) __attribute__((always_inline)) {
            aside(block, quarter);
        };
        allSteps(v, blocks, ofBlock, std::make_integer_sequence<int, 64>());
        for (int i = 0; i < 4; ++i) v[i] += before[i];
    }
    for (size_t i = 0; i < 4; ++i) state[i] = v[i];
}

}  // namespace QLT_SPACE::MD5Steps
