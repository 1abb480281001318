// AnchorChoice: by which of its literal bytes a unit of the index is searched for.
//
// The best anchor is the one that texts hold least often. No text is known when a set is loaded,
// but signatures are either pieces of text or unlike all text. So the set itself is the sample: a
// gram that many signatures share is common in text, and a gram that holds a pair of bytes that few
// signatures have is rare.
//
// Example: of "<iframesrc=http://qzx" the gram "http://" is shared by many signatures; "://qzx"
// holds the rare pair "qz" and is chosen.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "store/index/LiteralRows.h"

namespace STREAMENGINE_SPACE {

/// How often each gram of one width, and each pair of bytes, occurs in the patterns of a set.
class GramCounts {
  public:
    /// @param expected  about how many grams are going to be counted
    GramCounts(uint32_t width, size_t expected);

    void add(const LiteralRows& literals);

    /// @return how many other grams counted are equal to this one or share its slot; at most 65534
    uint32_t others(const uint8_t* gram) const;
    /// @return the count of a pair of bytes
    uint32_t pair(const uint8_t* bytes) const;

    uint32_t width() const { return hasher.gramWidth(); }

  private:
    size_t slotOf(const uint8_t* gram) const {
        return static_cast<size_t>(hasher.hash(gram) >> shift);
    }

    GramFilter hasher;  // gives the hash; holds nothing
    int shift;
    std::vector<uint16_t> counts;  // saturating
    std::vector<uint32_t> pairCounts;
};

struct Anchor {
    uint32_t offset;  // symbol at which its first gram begins
    uint32_t crowd;   // the most others that share one of its grams
};

// An anchor that more units than these share is no good one: who finds it has to go over all.
constexpr uint32_t kCrowd = 64;

/// Chooses anchors of one unit after the other.
class AnchorChooser {
  public:
    /// @param gramCounts  borrowed
    explicit AnchorChooser(const GramCounts& gramCounts) : counts(gramCounts) {}

    /// Goes on to a unit.
    /// @param rows  borrowed until the next unit
    void read(const LiteralRows& rows);

    /// @param grams  how many consecutive grams an anchor has, each beginning a byte after the one
    ///               before: 1, 2 or 4
    /// @return the anchor of the unit whose grams are rarest in sum, near the beginning if that one
    ///         is no worse than kCrowd; none if no row is long enough
    std::optional<Anchor> choose(uint32_t grams) const;

  private:
    template <uint32_t kGrams>
    std::optional<Anchor> rarestWithin(uint32_t span) const;

    const GramCounts& counts;
    const LiteralRows* literals = nullptr;
    std::vector<uint32_t> pairs;  // by symbol: the count of the pair that begins there
    std::vector<uint64_t> costs;  // by symbol: of the gram that begins there
};

}  // namespace STREAMENGINE_SPACE
