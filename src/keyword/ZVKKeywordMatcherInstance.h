// ZVKKeywordMatcherInstance: one search of a text for the keywords of a set.
//
// It lives on the stack of one matchKeywords() call. The only thing that a call allocates is the
// lowered copy of a longer text.
#pragma once

#include <optional>

#include "keyword/ZVKKeywordMatcher.h"
#include "scan/BodyMatcher.h"
#include "scan/report/DetectionReporter.h"

namespace STREAMENGINE_SPACE {

class ZVKKeywordMatcherInstance {
  public:
    /// Borrows all for its life.
    ZVKKeywordMatcherInstance(ZVKKeywordMatcher& keywords,
                              const ZVKScanEngineCallbacks* callbackRecord, void* hostData)
        : matcher(keywords), reporter(callbackRecord, hostData) {}

    /// Searches buffer and reports the first keyword found, with the right to read the set held.
    /// @param len  bytes in buffer, 2 at least
    /// @return 1 if a keyword was reported; 0 if there is none, or after a failure that was logged
    /// @throws all but QLT_SPACE::Exception, which is logged: std::bad_alloc, or what the host's
    ///         callback throws
    int match(const char* buffer, unsigned int len);

    /// The search itself; scanner has to exist.
    /// @throws QLT_SPACE::Exception if memory for a detail record runs out, or as match()
    int DoMatch(const char* buffer, unsigned int len);

  private:
    ZVKKeywordMatcher& matcher;
    DetectionReporter reporter;
    std::optional<BodyMatcher> scanner;  // made with the right to read held
};

}  // namespace STREAMENGINE_SPACE
