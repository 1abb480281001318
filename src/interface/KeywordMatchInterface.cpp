// The exported keyword functions. They check their arguments and hand over; no exception leaves.

#include "keyword/ZVKKeywordMatcherInstance.h"
#include "support/Log.h"

namespace {

using STREAMENGINE_SPACE::ZVKKeywordMatcherInstance;

constexpr const char* kUnit = "KeywordMatchInterface";

}  // namespace

int32_t updateKeywords(const char** keywords) {
    if (keywords == nullptr) {
        ZVK_ERROR("Invalid pattern array");
        return 0;
    }
    return keyword_matcher.update(keywords) ? 1 : 0;
}

int32_t matchKeywords(const ZVKScanEngineCallbacks* callbacks, void* userData, char* buffer,
                      uint32_t length) {
    if (callbacks == nullptr || userData == nullptr || buffer == nullptr) {
        ZVK_ERROR("Invalid scan params");
        return ZVK_ERR_BAD_PARAM;
    }
    try {
        return ZVKKeywordMatcherInstance(keyword_matcher, callbacks, userData)
            .match(buffer, length);
    } catch (...) {
        // The text says "new": hosts search their logs for it. The instance itself lives on the
        // stack; what failed is an allocation for its work.
        ZVK_ERROR("fail to new match instance");
        return ZVK_ERR_NO_MEMORY;
    }
}
