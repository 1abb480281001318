// GramPlaces: where each run of three bytes is in a text, for one that is searched for many of
// them.
//
// A counting sort of all positions by a hash of three bytes. Making it costs two passes over the
// text; each lookup then costs as much as it finds.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "scan/text/SearchText.h"
#include "support/ByteOrder.h"

namespace STREAMENGINE_SPACE {

class GramPlaces {
  public:
    static constexpr uint32_t kGram = 3;  // bytes

    /// @throws std::bad_alloc
    explicit GramPlaces(const SearchText& text)
        : ends(size_t{1} << kBucketBits), places(text.length) {
        for (uint32_t at = 0; at < text.length; ++at) ++ends[bucketOf(text.bytes + at)];
        uint32_t end = 0;
        for (uint32_t& each : ends) each = end += each;
        std::vector<uint32_t> next = ends;
        for (uint32_t at = text.length; at-- > 0;) places[--next[bucketOf(text.bytes + at)]] = at;
    }

    /// @param gram  four readable bytes, of which the first three count
    /// @return each index at which it begins, ascending, and perhaps others
    std::span<const uint32_t> of(const uint8_t* gram) const {
        const size_t bucket = bucketOf(gram);
        const uint32_t begin = bucket != 0 ? ends[bucket - 1] : 0;
        return std::span(places).subspan(begin, ends[bucket] - begin);
    }

  private:
    static constexpr int kBucketBits = 12;

    static size_t bucketOf(const uint8_t* at) {
        const uint32_t bytes = loadLittleEndian<uint32_t>(at) << 8;
        return bytes * 0x9E3779B1U >> (32 - kBucketBits);
    }

    std::vector<uint32_t> ends;  // of each bucket, in places
    std::vector<uint32_t> places;
};

}  // namespace STREAMENGINE_SPACE
