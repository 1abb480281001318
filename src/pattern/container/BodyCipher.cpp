// The DES library deprecates the functions for one block. Its newer interface has single DES only
// in a module that many systems do not install.
#define OPENSSL_SUPPRESS_DEPRECATED

#include "pattern/container/BodyCipher.h"

#include <openssl/des.h>

#include <cstring>

#include "support/Utils.h"

namespace STREAMENGINE_SPACE {
namespace {

constexpr size_t kBlockLength = sizeof(DesBlock);

void applyDes(const DesKey& key, int direction, const uint8_t* in, uint8_t* out) {
    DES_cblock input;
    DES_cblock output;
    std::memcpy(input, in, kBlockLength);
    DES_ecb_encrypt(&input, &output, &key.schedule(), direction);
    std::memcpy(out, output, kBlockLength);
}

/// Calls cryptBlock(in, out) for each whole block.
template <class CryptBlock>
void eachBlock(const uint8_t* in, uint8_t* out, size_t length, CryptBlock cryptBlock) {
    for (size_t i = 0; i + kBlockLength <= length; i += kBlockLength) cryptBlock(in + i, out + i);
}

uint8_t byteOf(uint32_t value, size_t index) {
    return static_cast<uint8_t>(value >> (8 * index));
}

/// @return the bytes of two words in the order of the file, which is little-endian
DesBlock blockOf(uint32_t first, uint32_t second) {
    DesBlock block{};
    for (size_t i = 0; i < 4; ++i) {
        block[i] = byteOf(first, i);
        block[i + 4] = byteOf(second, i);
    }
    return block;
}

}  // namespace

DesKey::DesKey(const DesBlock& key) : keySchedule(std::make_unique<DES_ks>()) {
    DES_cblock bytes;
    std::memcpy(bytes, key.data(), key.size());
    DES_set_key_unchecked(&bytes, keySchedule.get());
}

DesKey::~DesKey() = default;
DesKey::DesKey(DesKey&&) noexcept = default;
DesKey& DesKey::operator=(DesKey&&) noexcept = default;

void DES(const DesKey& key, const uint8_t* in, uint8_t* out) {
    applyDes(key, DES_ENCRYPT, in, out);
}

void _DES(const DesKey& key, const uint8_t* in, uint8_t* out) {
    applyDes(key, DES_DECRYPT, in, out);
}

void DES3(const DesKey& k1, const DesKey& k2, const DesKey& k3, const uint8_t* in, uint8_t* out) {
    DES(k1, in, out);
    DES(k2, out, out);
    DES(k3, out, out);
}

void _DES3(const DesKey& k1, const DesKey& k2, const DesKey& k3, const uint8_t* in, uint8_t* out) {
    _DES(k3, in, out);
    _DES(k2, out, out);
    _DES(k1, out, out);
}

void crypt(const DesKey& key, int mode, const uint8_t* in, uint8_t* out, size_t length) {
    const auto cryptBlock = mode == 0 ? DES : _DES;
    eachBlock(in, out, length,
              [&](const uint8_t* from, uint8_t* to) { cryptBlock(key, from, to); });
}

void crypt(const DesKey& k1, const DesKey& k2, const DesKey& k3, int mode, const uint8_t* in,
           uint8_t* out, size_t length) {
    const auto cryptBlock = mode == 0 ? DES3 : _DES3;
    eachBlock(in, out, length,
              [&](const uint8_t* from, uint8_t* to) { cryptBlock(k1, k2, k3, from, to); });
}

// Each byte of k1 is a byte of the number of names or patterns XOR one of the build time:
//
//   k1           byte 0   1   2   3   4   5   6   7
//   names             0   1   2   3
//   patterns                          0   1   2   3     byte 0 is the least significant one
//   build time        2   0   3   1   2   0   3   1
//
// With 2 names, 3 patterns and build time 0x6553f100, k1 is 51 00 65 f1 50 00 65 f1.
void getKey(const ContainerHeader& header, DesBlock& k1) {
    constexpr size_t kTimeByte[4] = {2, 0, 3, 1};
    for (size_t i = 0; i < 4; ++i) {
        const uint8_t mask = byteOf(header.buildTime, kTimeByte[i]);
        k1[i] = mask ^ byteOf(header.nameTotal, i);
        k1[i + 4] = mask ^ byteOf(header.patternTotal, i);
    }
}

// k2 and k3 are the two halves of the version, enciphered with k1.
void getKey(const ContainerHeader& header, DesBlock& k1, DesBlock& k2, DesBlock& k3) {
    getKey(header, k1);
    const DesKey first(k1);
    const auto& version = header.version;
    DES(first, blockOf(version[0], version[1]).data(), k2.data());
    DES(first, blockOf(version[2], version[3]).data(), k3.data());
}

BodyCipher::BodyCipher(const ContainerHeader& header) {
    if (header.cipherMethod > kCipherTripleDes) {
        throw UnknownCipher(
            QLT_SPACE::Utils::formatString("cipher method[%d] is unknown", header.cipherMethod));
    }
    DesBlock k1{};
    DesBlock k2{};
    DesBlock k3{};
    getKey(header, k1, k2, k3);
    if (header.cipherMethod != kCipherNone) keys.emplace_back(k1);
    if (header.cipherMethod == kCipherTripleDes) {
        keys.emplace_back(k2);
        keys.emplace_back(k3);
    }
}

size_t BodyCipher::blockLength() const {
    return keys.empty() ? 1 : kBlockLength;
}

void BodyCipher::apply(int mode, uint8_t* data, size_t length) const {
    if (keys.size() == 1) crypt(keys[0], mode, data, data, length);
    if (keys.size() == 3) crypt(keys[0], keys[1], keys[2], mode, data, data, length);
}

}  // namespace STREAMENGINE_SPACE
