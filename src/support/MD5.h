// MD5: the message digest of RFC 1321, fed piece by piece.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace QLT_SPACE {

class MD5 {
  public:
    static constexpr size_t kDigestLength = 16;

    MD5() { init(); }

    /// Starts a new message.
    void init();
    void reset() { init(); }
    void update(const unsigned char* data, size_t length);
    /// Writes the kDigestLength bytes of the digest and clears the context; init() before reuse.
    void final(unsigned char* digest);

  private:
    static constexpr size_t kBlockLength = 64;

    /// Folds blockCount blocks of kBlockLength bytes into state.
    void transform(const unsigned char* blocks, size_t blockCount);

    std::array<uint32_t, 4> state{};
    uint64_t count = 0;  // bytes of the message so far
    std::array<unsigned char, kBlockLength> buffer{};
};

}  // namespace QLT_SPACE
