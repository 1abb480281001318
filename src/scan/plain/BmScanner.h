// BmScanner: searches the texts of one stream for the plain strings of a list, with its shift
// table.
//
// The leftmost match wins; at one position the order of the bucket decides. A string is found only
// where it lies wholly inside one text.
#pragma once

#include "scan/text/SearchText.h"
#include "store/load/BmList.h"

namespace STREAMENGINE_SPACE {

class BmScanner {
  public:
    /// Borrows list for its life.
    explicit BmScanner(const BmList& list) : bmList(&list) {}

    void reset() { matchPosition = 0; }

    /// @return the first pattern found, or null
    const BmPattern* virusFound(const SearchText& text);

    /// @return index in the last text of the first byte after the last match
    uint32_t getMatchPosition() const { return matchPosition; }

    /// @return whether pattern matches at an index of the text
    static bool verifyPattern(const BmPattern& pattern, const SearchText& text, uint32_t start);

  private:
    /// @return the first pattern of a bucket that matches at an index, or null
    const BmPattern* searchBucket(const VQPatternList& bucket, const SearchText& text,
                                  uint32_t start);

    const BmList* bmList;
    uint32_t matchPosition = 0;
};

}  // namespace STREAMENGINE_SPACE
