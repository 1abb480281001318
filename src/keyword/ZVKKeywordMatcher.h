// ZVKKeywordMatcher: a keyword set, and who may read or replace it when.
//
// Any number of matches read the set at once. An update waits for those that run, keeps new ones
// waiting from the moment at which it asks, and rebuilds the set alone. Nobody starves: updates
// have their turns in the order in which they ask, and an update that ends lets in all the matches
// that wait by then, in front of the next update. So a match waits for one update at most, and an
// update for those in front of it and one batch of matches each.
//
// Threads: all functions may be called from any thread, but for DoUpdate().
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string_view>

#include "store/PatternContainer.h"
#include "zvkengine.h"

namespace STREAMENGINE_SPACE {

class ZVKKeywordMatcher {
  public:
    static constexpr size_t kShortestKeyword = 2;  // bytes
    static constexpr size_t kLongestKeyword = 256;

    /// The right to read the set, held for one scope. A thread that holds it must not update the
    /// set, nor ask for the right again: an update, its own or one that waits by then, would wait
    /// for it, and it for the update.
    class MatchScope {
      public:
        explicit MatchScope(ZVKKeywordMatcher& keywords);
        ~MatchScope();
        MatchScope(const MatchScope&) = delete;
        MatchScope& operator=(const MatchScope&) = delete;

      private:
        ZVKKeywordMatcher& matcher;
    };

    /// Replaces the set, see updateKeywords(). Should memory run out, the set is empty afterwards.
    /// @param keywords  ended by a null pointer
    /// @return whether the set was replaced
    bool update(const char** keywords);

    /// Rebuilds the set; the caller has the right to update.
    /// @return false if there is no keyword at all, the set then being as it was
    /// @throws QLT_SPACE::Exception or std::bad_alloc with the set half built
    bool DoUpdate(const char** keywords);

    /// @return the prepared set, in which each keyword is named by its index in decimal; to be read
    ///         with a MatchScope held, or while nobody updates
    const PatternContainer& keywordSet() const { return container; }

  private:
    /// The right to replace the set, held for one scope.
    class UpdateScope;

    /// @param keyword  NUL-terminated; one that is too short or too long is logged and left out
    void addKeyword(int index, std::string_view keyword);

    std::mutex mutex;  // guards all but the container
    std::condition_variable cond;
    uint64_t updatesAsked = 0;   // the turn that the next update will get
    uint64_t updatesDone = 0;    // the turn that is on, or next
    int32_t matchCount = 0;      // matches let in that have not ended
    int32_t matchesWaiting = 0;  // matches that the update in front will let in when it ends
    PatternContainer container;
};

}  // namespace STREAMENGINE_SPACE

/// Constructed when the library is loaded, destroyed when it is unloaded.
ZVK_API extern STREAMENGINE_SPACE::ZVKKeywordMatcher keyword_matcher;
