// AnchorChoice: by which of its literal bytes a unit of the index is looked for.
//
// The best anchor is the one that text holds least often. Text is not at hand when a set is loaded,
// but signatures are cut from text, or are unlike all text: a gram that many signatures share is
// common in text, and one that holds a pair of bytes that few signatures have is rare.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "store/index/SignatureIndex.h"

namespace STREAMENGINE_SPACE {

/// The rows of literal bytes among the first SignatureIndex::kAnchorRoom symbols of a pattern.
class LiteralRuns {
  public:
    struct Run {
        uint32_t begin;
        uint32_t end;
        uint32_t length() const { return end - begin; }
    };

    void assign(std::span<const uint8_t> plain);
    void assign(std::span<const Symbol> symbols);

    const uint8_t* at(uint32_t offset) const { return bytes.data() + offset; }
    std::span<const Run> all() const { return runs; }
    uint32_t longest() const;

  private:
    // Behind the last byte as many as a gram's hash reads.
    std::array<uint8_t, SignatureIndex::kAnchorRoom + GramFilter::kReadLength> bytes{};
    std::vector<Run> runs;  // never empty ones; ascending
};

/// How often each gram of one width, and each pair of bytes, stands in the patterns of a set.
class GramCounts {
  public:
    /// @param expected  grams that are going to be counted, about
    GramCounts(uint32_t width, size_t expected);

    void add(const LiteralRuns& literals);

    /// @return the other grams counted that are equal to this one or share its slot; 254 at most
    uint32_t others(const uint8_t* gram) const;
    /// @return the count of the rarest pair in a gram
    uint32_t rarestPair(const uint8_t* gram) const;

    uint32_t width() const { return hasher.width; }

  private:
    size_t slotOf(const uint8_t* gram) const {
        return static_cast<size_t>(hasher.hash(gram) >> shift);
    }

    GramFilter hasher;
    int shift;
    std::vector<uint8_t> counts;  // saturating
    std::vector<uint32_t> pairCounts;
};

struct Anchor {
    uint32_t offset;
    uint32_t crowd;  // the most others that share one of its grams
};

/// @param grams  entered for an anchor, each a byte behind the one before
/// @return the place where they are rarest; none where no row of literal bytes is long enough
std::optional<Anchor> chooseAnchor(const LiteralRuns& literals, uint32_t grams,
                                   const GramCounts& counts);

}  // namespace STREAMENGINE_SPACE
