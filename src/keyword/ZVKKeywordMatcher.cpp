#include "keyword/ZVKKeywordMatcher.h"

#include <algorithm>
#include <climits>
#include <exception>
#include <string>
#include <string_view>
#include <utility>

#include "engine/ZVKUtil.h"
#include "pattern/PatternType.h"
#include "support/Ascii.h"
#include "support/Exception.h"

namespace STREAMENGINE_SPACE {
namespace {

constexpr const char* kUnit = "ZVKKeywordMatcher";

bool isAccepted(std::string_view keyword) {
    return keyword.size() >= ZVKKeywordMatcher::kShortestKeyword &&
           keyword.size() <= ZVKKeywordMatcher::kLongestKeyword;
}

/// Logs the keywords that are too short or too long.
/// @return how many entries the array has
int reviewKeywords(const char** keywords) {
    int index = 0;
    for (; keywords[index] != nullptr; ++index) {
        const std::string_view keyword = keywords[index];
        if (isAccepted(keyword)) continue;
        ZVK_ERROR("keyword[%s] length[%d] index[%d]:too short or too long", keywords[index],
                  static_cast<int>(std::min<size_t>(keyword.size(), INT_MAX)), index);
    }
    return index;
}

/// @return the basic signature line of a keyword, named by its index
std::string signatureLine(int index, std::string_view keyword) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string line = std::to_string(index) + '=';
    for (const char c : keyword) {
        const auto byte = static_cast<unsigned char>(QLT_SPACE::lowered(c));
        line += kDigits[byte >> 4];
        line += kDigits[byte & 15];
    }
    return line;
}

}  // namespace

class ZVKKeywordMatcher::UpdateScope {
  public:
    explicit UpdateScope(ZVKKeywordMatcher& keywords) : matcher(keywords) {
        std::unique_lock lock(matcher.mutex);
        isNested = matcher.updater == std::this_thread::get_id();
        if (isNested) return;
        const uint64_t turn = matcher.updatesAsked++;
        matcher.cond.wait(lock,
                          [&] { return matcher.updatesDone == turn && matcher.matchCount == 0; });
        matcher.updater = std::this_thread::get_id();
    }
    ~UpdateScope() {
        if (isNested) return;
        const std::lock_guard lock(matcher.mutex);
        matcher.updater = {};
        ++matcher.updatesDone;
        matcher.matchCount = std::exchange(matcher.matchesWaiting, 0);
        matcher.cond.notify_all();
    }
    UpdateScope(const UpdateScope&) = delete;
    UpdateScope& operator=(const UpdateScope&) = delete;

  private:
    ZVKKeywordMatcher& matcher;
    bool isNested;
};

ZVKKeywordMatcher::MatchScope::MatchScope(ZVKKeywordMatcher& keywords) : matcher(keywords) {
    std::unique_lock lock(matcher.mutex);
    if (matcher.updatesAsked == matcher.updatesDone) {
        ++matcher.matchCount;
        return;
    }
    ++matcher.matchesWaiting;  // the update that lets it in counts it as running
    const uint64_t turn = matcher.updatesDone;
    matcher.cond.wait(lock, [&] { return matcher.updatesDone != turn; });
}

ZVKKeywordMatcher::MatchScope::~MatchScope() {
    const std::lock_guard lock(matcher.mutex);
    if (--matcher.matchCount == 0) matcher.cond.notify_all();
}

bool ZVKKeywordMatcher::update(const char** keywords) {
    const UpdateScope scope(*this);
    const auto fail = [this](const char* reason) {
        ZVK_ERROR("Fail to update pattern [%s]", reason);
        container.reset();  // what is half built must not be searched
        return false;
    };
    try {
        return DoUpdate(keywords);
    } catch (QLT_SPACE::Exception& error) {
        return fail(error.toString());
    } catch (const std::exception& error) {
        return fail(error.what());
    }
}

bool ZVKKeywordMatcher::DoUpdate(const char** keywords) {
    if (keywords == nullptr || keywords[0] == nullptr) {
        ZVK_ERROR("keywordsArray is NULL");
        return false;
    }
    const int count = reviewKeywords(keywords);
    container.reset();
    for (int i = 0; i < count; ++i) {
        if (!isAccepted(keywords[i])) continue;
        container.addString(signatureLine(i, keywords[i]).c_str(), PATTERN_BASIC, true);
    }
    ZVK_DEBUG("Total keywords [%d]", count);
    container.prepare();
    return true;
}

}  // namespace STREAMENGINE_SPACE
