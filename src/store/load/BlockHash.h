// The hash of 3-byte blocks by which the shift table and the digest table are indexed.
//
// Both tables have an entry for each 16-bit hash: small enough for the cache, where an entry for
// each of the 16 million blocks is not. The three factors differ, so the order of the bytes counts.
// Blocks that share a hash are distinguished by the comparison that follows.
#pragma once

#include <cstddef>
#include <cstdint>

namespace STREAMENGINE_SPACE {

constexpr size_t kBlockHashes = 65536;

/// @param block  three bytes; the largest hash, 255 * 249, fits into 16 bits
constexpr uint16_t blockHash(const uint8_t* block) {
    return static_cast<uint16_t>(211 * block[0] + 37 * block[1] + block[2]);
}

}  // namespace STREAMENGINE_SPACE
