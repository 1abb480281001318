// MD5: the message digest of RFC 1321, fed piece by piece.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace QLT_SPACE {

class MD5 {
  public:
    static constexpr size_t kDigestLength = 16;
    static constexpr size_t kBlockLength = 64;

    MD5() { init(); }

    /// Starts a new message.
    void init();
    void reset() { init(); }
    void update(const unsigned char* data, size_t length);
    /// Writes the kDigestLength bytes of the digest and clears the context; init() before reuse.
    void final(unsigned char* digest);

    /// @return the bytes that complete the block begun; 0 between blocks
    size_t missing() const { return (kBlockLength - count % kBlockLength) % kBlockLength; }

    /// Hands the state out to a caller that folds the message's next blocks into it itself, with
    /// MD5Steps::fold(). Only between blocks.
    /// @param blockCount  blocks that the caller folds
    std::array<uint32_t, 4>& takeBlocks(size_t blockCount) {
        count += blockCount * kBlockLength;
        return state;
    }

  private:
    /// Folds blockCount blocks of kBlockLength bytes into state.
    void transform(const unsigned char* blocks, size_t blockCount);

    std::array<uint32_t, 4> state{};
    uint64_t count = 0;  // bytes of the message so far
    std::array<unsigned char, kBlockLength> buffer{};
};

}  // namespace QLT_SPACE
