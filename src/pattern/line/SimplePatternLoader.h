// SimplePatternLoader: builds the record of a signature that is a plain byte string.
#pragma once

#include <cstdint>

#include "store/load/BmList.h"

namespace STREAMENGINE_SPACE {

class SimplePatternLoader {
  public:
    /// Adds one BmPattern to the list, counts it, and raises the list's maxPatternLength to its
    /// length.
    /// @param offset  decimal stream offset at which a match has to begin; null for anywhere
    /// @throws QLT_SPACE::Exception for malformed hexadecimal text, an empty name, a signature
    ///         that the list refuses as too short, or if memory runs out
    static void parse(BmList& list, const char* name, const char* hex, const char* offset,
                      uint16_t targetType);
};

}  // namespace STREAMENGINE_SPACE
