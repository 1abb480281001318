// SimplePatternLoader: builds the record of a plain byte string.
#pragma once

#include <cstdint>

#include "store/load/BmList.h"

namespace STREAMENGINE_SPACE {

class SimplePatternLoader {
  public:
    /// Builds one BmPattern, raises the list's maxPatternLength, adds the record to the list and
    /// counts it.
    /// @param offset  decimal stream offset at which a match has to begin; null for anywhere
    /// @throws QLT_SPACE::Exception for malformed hexadecimal text, an empty name, a signature
    ///         that the list refuses as too short, or where memory runs out
    static void parse(BmList& list, const char* name, const char* hex, const char* offset,
                      uint16_t targetType);
};

}  // namespace STREAMENGINE_SPACE
