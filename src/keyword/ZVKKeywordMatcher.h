// ZVKKeywordMatcher: the process's keyword set.
//
// Matching keywords is not part of this version. The object stands for the interface's third
// global, and refuses every list.
#pragma once

#include "interface/zvkengine.h"

namespace STREAMENGINE_SPACE {

class ZVKKeywordMatcher {
  public:
    /// @return whether the keywords were taken over; never in this version
    bool update(const char** keywords);
};

}  // namespace STREAMENGINE_SPACE

/// Constructed when the library is loaded, destroyed when it is unloaded.
ZVK_API extern STREAMENGINE_SPACE::ZVKKeywordMatcher keyword_matcher;
