#include "keyword/ZVKKeywordMatcher.h"

#include <algorithm>
#include <climits>
#include <exception>
#include <string>
#include <string_view>
#include <utility>

#include "pattern/PatternLoader.h"
#include "pattern/line/SignatureLine.h"
#include "support/Ascii.h"
#include "support/Exception.h"
#include "support/Log.h"

namespace STREAMENGINE_SPACE {
namespace {

constexpr const char* kUnit = "ZVKKeywordMatcher";

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

// The turns. An update waits for the matches that read when it asks, and from that moment on new
// matches wait. Updates have their turns in the order in which they ask. Between two updates all
// the matches that wait by then have theirs, as one batch. Example, with matches m and updates u,
// in the order in which they ask:
//
//   m1 m2          read at once
//   u1             waits for m1 and m2
//   m3 u2 m4       wait for u1
//   u1 ends        m3 and m4 read; u2 waits for both
//   m5             waits for u2
//
// A plain reader-writer lock prefers one side. If it prefers readers, a host that matches all the
// time never gets an update through; if it prefers writers, one that updates all the time never a
// match.
class ZVKKeywordMatcher::UpdateScope {
  public:
    explicit UpdateScope(ZVKKeywordMatcher& keywords) : matcher(keywords) {
        std::unique_lock lock(matcher.mutex);
        const uint64_t turn = matcher.updatesAsked++;
        matcher.cond.wait(lock,
                          [&] { return matcher.updatesDone == turn && matcher.matchCount == 0; });
    }
    ~UpdateScope() {
        const std::lock_guard lock(matcher.mutex);
        ++matcher.updatesDone;
        matcher.matchCount = std::exchange(matcher.matchesWaiting, 0);
        matcher.cond.notify_all();
    }
    UpdateScope(const UpdateScope&) = delete;
    UpdateScope& operator=(const UpdateScope&) = delete;

  private:
    ZVKKeywordMatcher& matcher;
};

ZVKKeywordMatcher::MatchScope::MatchScope(ZVKKeywordMatcher& keywords) : matcher(keywords) {
    std::unique_lock lock(matcher.mutex);
    if (matcher.updatesAsked == matcher.updatesDone) {
        ++matcher.matchCount;
        return;
    }
    // The update that ends next lets this match in and counts it as reading, before the next update
    // can have its turn. So it is enough to wait until this turn has passed.
    ++matcher.matchesWaiting;
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
        container.reset();  // a half-built set must not be searched
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
    container.reset();
    int index = 0;
    for (; keywords[index] != nullptr; ++index) addKeyword(index, keywords[index]);
    ZVK_DEBUG("Total keywords [%d]", index);
    PatternLoader::prepare(container);
    return true;
}

void ZVKKeywordMatcher::addKeyword(int index, std::string_view keyword) {
    if (keyword.size() < kShortestKeyword || keyword.size() > kLongestKeyword) {
        ZVK_ERROR("keyword[%s] length[%d] index[%d]:too short or too long", keyword.data(),
                  static_cast<int>(std::min<size_t>(keyword.size(), INT_MAX)), index);
        return;
    }
    addSignatureLine(container, signatureLine(index, keyword).c_str(), PATTERN_BASIC, true);
}

}  // namespace STREAMENGINE_SPACE
