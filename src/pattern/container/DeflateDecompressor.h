// DeflateDecompressor: inflates from file to file in constant memory, with zlib.
#pragma once

#include <cstdint>
#include <cstdio>
#include <limits>

#include "support/Exception.h"

namespace STREAMENGINE_SPACE {

/// The stream itself is wrong. Other failures (memory, files, the limit) are plain exceptions.
class BrokenDeflateStream : public QLT_SPACE::Exception {
  public:
    using Exception::Exception;
};

class DeflateDecompressor {
  public:
    static constexpr uint64_t kNoLimit = std::numeric_limits<uint64_t>::max();

    /// @param isRaw        a deflate stream (RFC 1951) with 32 KiB of history; else a zlib stream
    ///                     (RFC 1950)
    /// @param outputLimit  bytes; an output that would be longer is refused
    explicit DeflateDecompressor(bool isRaw, uint64_t outputLimit = kNoLimit)
        : raw(isRaw), limit(outputLimit) {}

    /// Inflates from the position of in to the position of out, both borrowed. The position of in
    /// is then the end of the deflate stream: the reader of a file that goes on after it can
    /// follow.
    /// @throws BrokenDeflateStream if the stream is wrong or cut
    /// @throws QLT_SPACE::OutOfMemoryException
    /// @throws QLT_SPACE::Exception if a file is null, the output is too long, or out cannot be
    ///         written
    void decompress(std::FILE* in, std::FILE* out) const;

  private:
    bool raw;
    uint64_t limit;
};

}  // namespace STREAMENGINE_SPACE
