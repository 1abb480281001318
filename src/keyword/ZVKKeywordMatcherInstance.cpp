#include "keyword/ZVKKeywordMatcherInstance.h"

#include <algorithm>
#include <array>
#include <memory>
#include <new>

#include "support/Ascii.h"
#include "support/Exception.h"
#include "support/Log.h"

namespace STREAMENGINE_SPACE {
namespace {

constexpr const char* kUnit = "ZVKKeywordMatcher";

// A text up to this length is copied to the stack: an allocation would take a good part of the time
// that its search takes.
constexpr size_t kShortText = 1024;
constexpr size_t kSlack = SearchText::kSlack;  // bytes after a copy that the search may read

}  // namespace

int ZVKKeywordMatcherInstance::match(const char* buffer, unsigned int len) {
    const ZVKKeywordMatcher::MatchScope scope(matcher);
    try {
        scanner.emplace(matcher.keywordSet(), reporter.details());
        return DoMatch(buffer, len);
    } catch (QLT_SPACE::Exception& error) {
        ZVK_ERROR("Catch the exception [%s]", error.toString());
        return 0;
    }
}

int ZVKKeywordMatcherInstance::DoMatch(const char* buffer, unsigned int len) {
    if (buffer == nullptr || !scanner || len <= 1) {
        ZVK_ERROR("in_buf or _scanner is NULL");
        return 0;
    }
    std::array<char, kShortText + kSlack> shortCopy;  // NOLINT: filled right below
    std::unique_ptr<char[]> longCopy;
    char* copy = shortCopy.data();
    if (len > kShortText) {
        longCopy.reset(new (std::nothrow) char[len + kSlack]);
        copy = longCopy.get();
    }
    if (copy == nullptr) {
        ZVK_ERROR("new array for format fail");
        return 0;
    }
    std::transform(buffer, buffer + len, copy, [](char c) { return QLT_SPACE::lowered(c); });
    DigestFeed nothing;
    const SearchText text = {reinterpret_cast<const uint8_t*>(copy), len};
    const BodyMatch match = scanner->virusFound(text, nothing);
    if (!match) return 0;
    reporter.recordMatch(match, match.end);
    reporter.sendEngineEventEx(ZVK_EVENT_VIRUS_FOUND, match.pattern->virName);
    return 1;
}

}  // namespace STREAMENGINE_SPACE
