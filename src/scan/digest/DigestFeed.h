// DigestFeed: bytes of a stream on their way into its digest.
//
// The search may digest whole blocks while it probes the same bytes (see AnchorProbe); whatever it
// leaves is digested by finish(). So every byte is digested once, by one or the other.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "support/MD5.h"

namespace STREAMENGINE_SPACE {

class DigestFeed {
  public:
    /// An empty feed.
    DigestFeed() = default;

    /// Borrows both until finish().
    DigestFeed(QLT_SPACE::MD5& digest, const char* data, size_t length)
        : context(&digest), next(reinterpret_cast<const unsigned char*>(data)), left(length) {
        if (context->missing() != 0) take(std::min(left, context->missing()));
    }

    DigestFeed(const DigestFeed&) = delete;
    DigestFeed& operator=(const DigestFeed&) = delete;
    /// Digests what is left, also when a search is left by an exception.
    ~DigestFeed() { finish(); }

    /// Digests all that is left.
    void finish() {
        if (left != 0) take(left);
    }

    /// @return how many whole blocks are left
    size_t blocks() const { return left / QLT_SPACE::MD5::kBlockLength; }

    /// Hands whole blocks over: the caller has to fold them into state.
    /// @param count  at most blocks()
    const unsigned char* takeBlocks(size_t count, std::array<uint32_t, 4>*& state) {
        state = &context->takeBlocks(count);
        const unsigned char* const taken = next;
        next += count * QLT_SPACE::MD5::kBlockLength;
        left -= count * QLT_SPACE::MD5::kBlockLength;
        return taken;
    }

  private:
    void take(size_t length) {
        context->update(next, length);
        next += length;
        left -= length;
    }

    QLT_SPACE::MD5* context = nullptr;
    const unsigned char* next = nullptr;
    size_t left = 0;
};

}  // namespace STREAMENGINE_SPACE
