#include "keyword/ZVKKeywordMatcher.h"

#include "engine/ZVKUtil.h"

namespace STREAMENGINE_SPACE {
namespace {

constexpr const char* kUnit = "ZVKKeywordMatcher";

}  // namespace

bool ZVKKeywordMatcher::update(const char** /*keywords*/) {
    ZVK_ERROR("Fail to update pattern [%s]", "keywords are not matched by this version");
    return false;
}

}  // namespace STREAMENGINE_SPACE
