// BmScanner: searches the buffers of one stream for the plain byte strings of a list.
//
// The leftmost match wins; at one position the bucket's order decides. A pattern is found only
// where it lies wholly inside one buffer.
#pragma once

#include "store/load/BmList.h"

namespace STREAMENGINE_SPACE {

class BmScanner {
  public:
    /// Borrows list for its life.
    explicit BmScanner(const BmList& list) : bmList(&list) {}

    void reset() { matchPosition = nullptr; }

    /// Scans a buffer whose first byte has stream offset base.
    /// @return the first pattern found, or null
    const BmPattern* virusFound(const unsigned char* buf, unsigned int len, unsigned int base);

    /// @return the position in the last buffer just behind the last match
    const unsigned char* getMatchPosition() const { return matchPosition; }

    /// @return whether pattern stands at position start of the len bytes at buf
    static bool verifyPattern(const BmPattern& pattern, const unsigned char* buf, unsigned int len,
                              unsigned int start);

  private:
    /// @return the first pattern of a bucket that matches at position start, or null
    const BmPattern* searchBucket(const VQPatternList& bucket, const unsigned char* buf,
                                  unsigned int len, unsigned int base, unsigned int start);

    const BmList* bmList;
    const unsigned char* matchPosition = nullptr;
};

}  // namespace STREAMENGINE_SPACE
