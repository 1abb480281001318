// BodyMatcher: finds the body signatures of a set in a text, and tells what it found.
//
// The text is taken as it is: whoever hands it over has normalised it. Making a matcher allocates
// nothing, so that one may live on the stack for the length of a call. With the detail options off
// a search allocates nothing either, but for room for multi-part signatures under way, which is
// kept, and for a text that is full of their parts.
//
// As a rule the set's compiled index is searched. Where the kernel is the plain one, and at the
// debug level, whose lines tell of each step, the loaded trees and lists are walked instead.
//
// Threads: one at a time; the container is shared and only read.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "scan/index/IndexScanner.h"
#include "scan/plain/BmScanner.h"
#include "scan/plain/TrieScanner.h"
#include "scan/report/ScanResult.h"
#include "zvkengine.h"

namespace STREAMENGINE_SPACE {

class PatternContainer;

class BodyMatcher {
  public:
    /// Makes the matchers that the container calls for.
    /// @param container       prepared; borrowed for this object's life
    /// @param callbackRecord  borrowed until it is replaced
    BodyMatcher(const PatternContainer& container, const ZVKScanEngineCallbacks* callbackRecord,
                void* hostData);
    BodyMatcher(const BodyMatcher&) = delete;
    BodyMatcher& operator=(const BodyMatcher&) = delete;

    /// Clears the matchers' state, as after a detection.
    void init();

    /// Searches text[0, end), whose first byte has stream offset base: for what the automaton finds
    /// and, where that is nothing, for what the shift table does.
    /// @param text     IndexScanner::kSlack bytes behind its end have to be readable
    /// @param settled  index in front of which nothing begins, as the search before told; 0 if it
    ///                 found something
    /// @param feed     of which a part may be digested on the way
    /// @return the scrambled name of the match, owned by its pattern, or null
    /// @throws QLT_SPACE::Exception or std::bad_alloc if memory runs out
    const char* virusFound(const char* text, unsigned int end, unsigned int base,
                           unsigned int settled, DigestFeed& feed);

    /// @return the index in the last text in front of which nothing begins, whatever comes behind
    /// it
    unsigned int settledEnd() const { return isPlain ? 0 : signatureScanner.settledEnd(); }

    /// @return the position just behind the last match, in the text searched; null if none yet
    const char* getMatchPosition() const { return matchEnd; }

    /// Sends an event; sendEngineEvent() takes a plain name, sendEngineEventEx() a scrambled one.
    /// @return the host's answer, or 3 for ZVK_EVENT_RESERVED
    int sendEngineEvent(ZVK_ENGINE_EVENT_TYPE type, const char* name);
    int sendEngineEventEx(ZVK_ENGINE_EVENT_TYPE type, const char* name);

    /// Raises the dump event for a block of normalised bytes; does nothing while dumping is off.
    void sendDumpEvent(const char* data, unsigned int length) const;

    const ZVKScanEngineCallbacks* callbacks;
    void* userData;

  protected:
    ScanResult result;
    const char* matchEnd = nullptr;

  private:
    const char* matchIndex(const char* text, unsigned int end, unsigned int base,
                           unsigned int settled, DigestFeed& feed);
    const char* matchTrie(const char* text, unsigned int end, unsigned int base);
    const char* matchBm(const char* text, unsigned int end, unsigned int base);
    /// Note and record what was found, matchEnd being set.
    /// @return the name
    const char* tellTrie(const TriePattern& found);
    const char* tellBm(const BmPattern& found, uint32_t endOffset);
    void recordBmMatch(const BmPattern& pattern, uint32_t matchOffset);

    IndexScanner signatureScanner;
    bool hasIndex;
    bool isPlain;                            // chosen by init(), so that no progress is lost
    std::optional<BmScanner> bmScanner;      // none where the container has no such patterns,
    std::optional<TrieScanner> trieScanner;  // as this
    uint32_t matchedSigId = 0;               // multi-part signature of the last match, or 0
};

}  // namespace STREAMENGINE_SPACE
