#include "scan/BodyMatcher.h"

#include "store/PatternContainer.h"
#include "support/EngineOption.h"
#include "support/Log.h"

namespace STREAMENGINE_SPACE {

BodyMatcher::BodyMatcher(const PatternContainer& container,
                         const ZVKScanEngineCallbacks* callbackRecord, void* hostData)
    : callbacks(callbackRecord),
      userData(hostData),
      signatureScanner(container.index, &result),
      hasIndex(container.index.isBuilt()) {
    if (container.bmList.maxPatternLength != 0) bmScanner.emplace(container.bmList);
    if (container.trieTree.maxPatternLength != 0) trieScanner.emplace(container.trieTree, &result);
    isPlain = !hasIndex || Log::debugIsOn();
}

void BodyMatcher::init() {
    matchEnd = nullptr;
    if (bmScanner) bmScanner->reset();
    if (trieScanner) trieScanner->reset();
    signatureScanner.reset();
    isPlain = !hasIndex || Log::debugIsOn();
    if (ops.wantsDetail()) result.reset();
    matchedSigId = 0;
}

const char* BodyMatcher::virusFound(const char* text, unsigned int end, unsigned int base,
                                    unsigned int settled, DigestFeed& feed) {
    if (!isPlain) return matchIndex(text, end, base, settled, feed);
    const char* name = matchTrie(text, end, base);
    return name != nullptr ? name : matchBm(text, end, base);
}

const char* BodyMatcher::matchIndex(const char* text, unsigned int end, unsigned int base,
                                    unsigned int settled, DigestFeed& feed) {
    const auto match = signatureScanner.virusFound(reinterpret_cast<const uint8_t*>(text), end,
                                                   base, settled, feed);
    if (match.pattern == nullptr) return nullptr;
    matchEnd = text + match.end;
    if (match.isTrie) return tellTrie(static_cast<const TriePattern&>(*match.pattern));
    return tellBm(static_cast<const BmPattern&>(*match.pattern), match.end + base);
}

const char* BodyMatcher::matchTrie(const char* text, unsigned int end, unsigned int base) {
    if (!trieScanner) return nullptr;
    const TriePattern* found =
        trieScanner->virusFound(reinterpret_cast<const unsigned char*>(text), end, base);
    if (found == nullptr) return nullptr;
    matchEnd = reinterpret_cast<const char*>(trieScanner->getMatchPosition());
    if (ops.detailLog != 0) found->printSigInfo(static_cast<uint32_t>(matchEnd - text) + base);
    return tellTrie(*found);
}

const char* BodyMatcher::matchBm(const char* text, unsigned int end, unsigned int base) {
    if (!bmScanner) return nullptr;
    const BmPattern* found =
        bmScanner->virusFound(reinterpret_cast<const unsigned char*>(text), end, base);
    if (found == nullptr) return nullptr;
    matchEnd = reinterpret_cast<const char*>(bmScanner->getMatchPosition());
    return tellBm(*found, static_cast<uint32_t>(matchEnd - text) + base);
}

const char* BodyMatcher::tellTrie(const TriePattern& found) {
    if (found.sigid != 0 && found.type == 0) matchedSigId = found.sigid;
    return found.virName;
}

const char* BodyMatcher::tellBm(const BmPattern& found, uint32_t endOffset) {
    if (ops.wantsDetail()) recordBmMatch(found, endOffset - found.length);
    if (ops.detailLog != 0) found.printSigInfo(endOffset);
    return found.virName;
}

}  // namespace STREAMENGINE_SPACE
