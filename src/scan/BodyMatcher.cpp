#include "scan/BodyMatcher.h"

#include "support/Log.h"

namespace STREAMENGINE_SPACE {

BodyMatcher::BodyMatcher(const PatternContainer& set, ScanResult& partDetails)
    : form(set.searchForm), walksLoaded(mustWalkLoaded()), indexScanner(set.index, partDetails) {
    if (set.bmList.maxPatternLength != 0) bmScanner.emplace(set.bmList);
    if (set.trieTree.maxPatternLength != 0) trieScanner.emplace(set.trieTree, &partDetails);
}

void BodyMatcher::reset() {
    if (bmScanner) bmScanner->reset();
    if (trieScanner) trieScanner->reset();
    indexScanner.reset();
    walksLoaded = mustWalkLoaded();
}

uint32_t BodyMatcher::resetAfter(const BodyMatch& match) {
    const bool mayKeep = !walksLoaded && !mustWalkLoaded() && !match.isTrie;
    if (mayKeep) return indexScanner.resetAfterString(match.end);
    reset();
    return 0;
}

bool BodyMatcher::mustWalkLoaded() const {
    return form == SearchForm::Loaded || Log::debugIsOn();
}

BodyMatch BodyMatcher::virusFound(const SearchText& text, DigestFeed& feed) {
    if (walksLoaded) return walkLoaded(text);
    return indexScanner.mustWalk(text) ? walkForIndex(text) : indexScanner.virusFound(text, feed);
}

/// Searches a text that the index is not made for. The index goes on after it, if it can.
BodyMatch BodyMatcher::walkForIndex(const SearchText& text) {
    trieScanner->reset();
    indexScanner.exportProgress(*trieScanner);
    walksLoaded = true;  // until a reset, also if the search throws
    const BodyMatch match = walkLoaded(text);
    if (!match) walksLoaded = !indexScanner.importProgress(*trieScanner);
    return match;
}

// The shift table is asked only if the automaton finds nothing in the whole text: a plain string is
// not reported if a signature of the automaton is complete anywhere in the same text.
BodyMatch BodyMatcher::walkLoaded(const SearchText& text) {
    if (trieScanner) {
        const TriePattern* found = trieScanner->virusFound(text);
        if (found != nullptr) return {found, true, trieScanner->getMatchPosition()};
    }
    if (bmScanner) {
        const BmPattern* found = bmScanner->virusFound(text);
        if (found != nullptr) return {found, false, bmScanner->getMatchPosition()};
    }
    return {};
}

}  // namespace STREAMENGINE_SPACE
