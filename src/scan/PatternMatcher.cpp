#include "scan/PatternMatcher.h"

#include "engine/ZVKUtil.h"
#include "store/ZVKPatternContainer.h"

namespace STREAMENGINE_SPACE {

PatternMatcher::PatternMatcher(const PatternContainer& container,
                               const ZVKScanEngineCallbacks* callbackRecord, void* hostData)
    : callbacks(callbackRecord), userData(hostData) {
    if (container.bmList.maxPatternLength != 0) bmScanner.emplace(container.bmList);
    if (container.trieTree.maxPatternLength != 0) trieScanner.emplace(container.trieTree, &result);
}

void PatternMatcher::init() {
    matchEnd = nullptr;
    if (bmScanner) bmScanner->reset();
    if (trieScanner) trieScanner->reset();
    if (ops.wantsDetail()) result.reset();
    matchedSigId = 0;
}

const char* PatternMatcher::virusFound(const char* text, unsigned int end, unsigned int base) {
    const char* name = matchTrie(text, end, base);
    return name != nullptr ? name : matchBm(text, end, base);
}

const char* PatternMatcher::matchTrie(const char* text, unsigned int end, unsigned int base) {
    if (!trieScanner) return nullptr;
    const TriePattern* found =
        trieScanner->virusFound(reinterpret_cast<const unsigned char*>(text), end, base);
    if (found == nullptr) return nullptr;
    matchEnd = reinterpret_cast<const char*>(trieScanner->getMatchPosition());
    if (found->sigid != 0 && found->type == 0) matchedSigId = found->sigid;
    if (ops.detailLog != 0) found->printSigInfo(static_cast<uint32_t>(matchEnd - text) + base);
    return found->virName;
}

const char* PatternMatcher::matchBm(const char* text, unsigned int end, unsigned int base) {
    if (!bmScanner) return nullptr;
    const BmPattern* found =
        bmScanner->virusFound(reinterpret_cast<const unsigned char*>(text), end, base);
    if (found == nullptr) return nullptr;
    matchEnd = reinterpret_cast<const char*>(bmScanner->getMatchPosition());
    const uint32_t matchOffset = static_cast<uint32_t>(matchEnd - text) + base;
    if (ops.wantsDetail()) recordBmMatch(*found, matchOffset - found->length);
    if (ops.detailLog != 0) found->printSigInfo(matchOffset);
    return found->virName;
}

}  // namespace STREAMENGINE_SPACE
