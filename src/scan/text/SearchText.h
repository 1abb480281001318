// SearchText: the stretch of a normalised stream that one search reads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

namespace STREAMENGINE_SPACE {

/// Borrows its bytes for the search.
struct SearchText {
    /// Bytes after the last one that have to be readable. Loads of fixed width and probes of whole
    /// blocks reach into them; their values never matter.
    static constexpr size_t kSlack = 80;

    const uint8_t* bytes;
    uint32_t length;
    uint32_t streamOffset = 0;  // of the first byte; offsets have 32 bits and may wrap
    /// No match begins before this index: an earlier search of these bytes decided it.
    uint32_t decidedTo = 0;

    const uint8_t* end() const { return bytes + length; }

    /// @return the stream offset of an index
    uint32_t offsetOf(uint32_t index) const { return streamOffset + index; }

    /// @return whether the stream offsets pass 4 GiB within the text and begin again at 0
    bool offsetsWrap() const {
        return streamOffset > std::numeric_limits<uint32_t>::max() - length;
    }
};

}  // namespace STREAMENGINE_SPACE
