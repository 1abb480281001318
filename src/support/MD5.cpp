#include "support/MD5.h"

#include <algorithm>
#include <cstring>

#include "support/MD5Steps.h"

namespace QLT_SPACE {
namespace {

constexpr std::array<uint32_t, 4> kInitialState = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};

void storeLittleEndian(uint32_t value, unsigned char* bytes) {
    for (int i = 0; i < 4; ++i) bytes[i] = static_cast<unsigned char>(value >> (8 * i));
}

}  // namespace

void MD5::init() {
    state = kInitialState;
    count = 0;
    buffer.fill(0);
}

void MD5::update(const unsigned char* data, size_t length) {
    if (length == 0) return;
    const size_t pending = count % kBlockLength;
    count += length;
    if (pending != 0) {
        const size_t taken = std::min(length, kBlockLength - pending);
        std::memcpy(buffer.data() + pending, data, taken);
        data += taken;
        length -= taken;
        if (pending + taken < kBlockLength) return;
        transform(buffer.data(), 1);
    }
    const size_t blockCount = length / kBlockLength;
    transform(data, blockCount);
    std::memcpy(buffer.data(), data + blockCount * kBlockLength, length % kBlockLength);
}

// The message is padded with a 1 bit and then 0 bits up to 8 bytes before the end of a block; these
// 8 bytes take its length in bits.
void MD5::final(unsigned char* digest) {
    static constexpr std::array<unsigned char, kBlockLength> kPadding = {0x80};
    const uint64_t bitCount = count * 8;
    std::array<unsigned char, 8> lengthBytes{};
    storeLittleEndian(static_cast<uint32_t>(bitCount), lengthBytes.data());
    storeLittleEndian(static_cast<uint32_t>(bitCount >> 32), lengthBytes.data() + 4);
    update(kPadding.data(), 1 + (2 * kBlockLength - 9 - count % kBlockLength) % kBlockLength);
    update(lengthBytes.data(), lengthBytes.size());
    for (size_t i = 0; i < state.size(); ++i) storeLittleEndian(state[i], digest + 4 * i);
    state.fill(0);
    count = 0;
    buffer.fill(0);
}

void MD5::transform(const unsigned char* blocks, size_t blockCount) {
    MD5Steps::fold(state, blocks, blockCount, [](size_t /*block*/, size_t /*quarter*/) {});
}

}  // namespace QLT_SPACE
