// BodyMatcher: finds the body signatures of a set in a text.
//
// The text is searched as it is: the caller has normalised it. As a rule the set's compiled index
// is searched. Where the set has none, and at the debug level, whose lines describe each step, the
// loaded trees and lists are walked instead: the automaton first and, if it finds nothing, the
// shift table.
//
// Making a matcher allocates nothing, so one may live on the stack for the length of a call. With
// the detail options off a search allocates only room for parts that were accepted and for plain
// strings that were found, which is kept, once for each thread its LiveParts, and after a plain
// string perhaps a PartOutlook.
//
// Threads: one at a time; the set is shared and only read.
#pragma once

#include <cstdint>
#include <optional>

#include "scan/index/IndexScanner.h"
#include "scan/plain/BmScanner.h"
#include "scan/plain/TrieScanner.h"
#include "scan/report/BodyMatch.h"
#include "store/PatternContainer.h"

namespace STREAMENGINE_SPACE {

class BodyMatcher {
  public:
    /// Makes the scanners that the set needs.
    /// @param set          prepared; borrowed for this object's life, as is partDetails
    /// @param partDetails  receives the accepted parts while a detail option is on
    BodyMatcher(const PatternContainer& set, ScanResult& partDetails);
    BodyMatcher(const BodyMatcher&) = delete;
    BodyMatcher& operator=(const BodyMatcher&) = delete;

    /// Forgets the progress of multi-part signatures, as at the beginning of a stream.
    void reset();
    /// Does the same after a match in the last text.
    /// @return decidedTo of the next text, which begins just after the match
    uint32_t resetAfter(const BodyMatch& match);

    /// Forgets what it knows about the last text, but not the progress: an idle stream keeps less.
    void forgetText() { indexScanner.forgetText(); }

    /// @param feed  part of it may be digested on the way
    /// @return the first match, or none
    /// @throws QLT_SPACE::Exception or std::bad_alloc if memory runs out
    BodyMatch virusFound(const SearchText& text, DigestFeed& feed);

    /// @return index in the last text before which no match begins, whatever bytes follow the text;
    ///         0 if that is not known
    uint32_t decidedTo() const { return walksLoaded ? 0 : indexScanner.decidedTo(); }

  private:
    BodyMatch walkLoaded(const SearchText& text);
    BodyMatch walkForIndex(const SearchText& text);
    bool mustWalkLoaded() const;

    SearchForm form;
    bool walksLoaded;  // chosen by reset(); changed where the progress can be handed over
    IndexScanner indexScanner;
    std::optional<BmScanner> bmScanner;  // none if the set has no such patterns, as trieScanner
    std::optional<TrieScanner> trieScanner;
};

}  // namespace STREAMENGINE_SPACE
