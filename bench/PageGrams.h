// PageGrams: which runs of six bytes the normalised pages have.
//
// A bit for each hash of a run. Two runs may share a bit, so a run that no page has may count as
// one that some page has, never the other way round.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "Corpus.h"

class PageGrams {
  public:
    static constexpr size_t kWidth = 6;  // bytes of a run
    /// The shortest piece whose rare run can be kept clear of the wildcards that a signature may
    /// get; they are in its first half, from the fifth byte on.
    static constexpr size_t kShortestWithWildcards = 11;

    PageGrams() : bits(size_t{1} << kBits) {}

    void add(const Pages& rawPages);

    /// @return whether the second half of a piece, or its last six bytes if that is shorter, has
    ///         six bytes in a row that no page has
    bool isRare(std::string_view piece) const;

  private:
    static constexpr int kBits = 30;

    static size_t hash(const char* run);

    std::vector<bool> bits;
};
