// ZVKKeywordMatcher: a keyword set, and the order in which threads may read or replace it.
//
// Any number of matches read the set at once; an update rebuilds it alone. Nobody waits for ever: a
// match waits for one update at most, an update for those that asked before it and one batch of
// matches each.
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

    /// The right to read the set, held for one scope. A thread that holds it must neither update
    /// the set nor ask for the right again. It would wait for an update, its own or one that asked
    /// in between, and that update would wait for the thread to leave its scope.
    class MatchScope {
      public:
        explicit MatchScope(ZVKKeywordMatcher& keywords);
        ~MatchScope();
        MatchScope(const MatchScope&) = delete;
        MatchScope& operator=(const MatchScope&) = delete;

      private:
        ZVKKeywordMatcher& matcher;
    };

    /// Replaces the set, see updateKeywords(). If there is not enough memory, the set is empty
    /// afterwards.
    /// @param keywords  ended by a null pointer
    /// @return whether the set was replaced
    bool update(const char** keywords);

    /// Rebuilds the set; the caller holds the right to update.
    /// @return false if there is no keyword at all, the set then being as it was
    /// @throws QLT_SPACE::Exception or std::bad_alloc with the set half built
    bool DoUpdate(const char** keywords);

    /// @return the prepared set, in which each keyword's name is its index in decimal. It may only
    ///         be read with a MatchScope held, or while nobody updates.
    const PatternContainer& keywordSet() const { return container; }

  private:
    /// The right to replace the set, held for one scope.
    class UpdateScope;

    /// @param keyword  NUL-terminated; one that is too short or too long is logged and left out
    void addKeyword(int index, std::string_view keyword);

    std::mutex mutex;  // guards all fields but the container
    std::condition_variable cond;
    // Turns are numbered like the tickets of a counter: an update takes the number updatesAsked and
    // has its turn when updatesDone has come to that number.
    uint64_t updatesAsked = 0;
    uint64_t updatesDone = 0;
    int32_t matchCount = 0;      // matches let in that have not ended
    int32_t matchesWaiting = 0;  // matches that the first update in line lets in when it ends
    PatternContainer container;
};

}  // namespace STREAMENGINE_SPACE

/// Constructed when the library is loaded, destroyed when it is unloaded.
ZVK_API extern STREAMENGINE_SPACE::ZVKKeywordMatcher keyword_matcher;
