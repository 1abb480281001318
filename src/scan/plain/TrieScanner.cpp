#include "scan/plain/TrieScanner.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "support/Log.h"

namespace STREAMENGINE_SPACE {
namespace {

constexpr const char* kUnit = "StreamScanner";

const TriePattern& patternOf(const VQPatternNode& node) {
    return static_cast<const TriePatternNode&>(node).pattern();
}

bool isOneOf(uint8_t byte, ByteGroup group) {
    return std::find(group.begin(), group.end(), byte) != group.end();
}

}  // namespace

void TrieScanner::reset() {
    matchPosition = 0;
    progress.clear();
}

const TriePattern* TrieScanner::virusFound(const SearchText& text) {
    if (!Log::debugIsOn()) return search<false>(text);
    ZVK_DEBUG("TrieScanner::virusFound, in_buf [%.*s], in_len[%x]",
              static_cast<int>(std::min<uint32_t>(text.length, INT_MAX)),
              reinterpret_cast<const char*>(text.bytes), text.length);
    return search<true>(text);
}

// The automaton is at most three levels deep: a state stands for the last one to three bytes of the
// text. A state at which the prefix of a pattern ends leads to the patterns with that prefix, which
// are compared in full. Of a leaf, the failure links lead to shorter prefixes that end here as
// well; a state that is no leaf has none of these (see TrieTree).
template <bool kTrace>
const TriePattern* TrieScanner::search(const SearchText& text) {
    if (tree.root == nullptr) return nullptr;
    const TrieNode* state = tree.root;
    for (uint32_t i = 0; i < text.length; ++i) {
        const uint8_t c = text.bytes[i];
        while (state->isLeaf || (*state->trans)[c] == nullptr) state = state->fail;
        state = (*state->trans)[c];
        while (state->hasPatterns) {
            const uint32_t start = i + 1 - state->depth;
            const Rest rest = {text.bytes + start, text.length - start, start,
                               text.offsetOf(start)};
            if (const TriePattern* found = matchNode<kTrace>(*state, rest)) return found;
            if (!state->isLeaf) break;
            state = state->fail;
        }
    }
    return nullptr;
}

template <bool kTrace>
const TriePattern* TrieScanner::matchNode(const TrieNode& node, const Rest& rest) {
    if (const TriePattern* found = matchWildcardPatternList(node.wildcardList, rest)) return found;
    if (node.shortList.empty() && node.simpleList.empty()) return nullptr;
    if constexpr (kTrace) {
        ZVK_DEBUG("current->simple_patterns[%d]", static_cast<int>(node.sorted.size()));
    }
    return matchSimplePatternList<kTrace>(node, rest);
}

const TriePattern* TrieScanner::matchWildcardPatternList(const VQPatternList& list,
                                                         const Rest& rest) {
    for (const VQPatternNode* node = list.first(); node != nullptr; node = node->next) {
        const TriePattern& pattern = patternOf(*node);
        if (matchWildcardPattern(pattern, rest) && verifyPattern(pattern, rest.offset)) {
            return &pattern;
        }
    }
    return nullptr;
}

bool TrieScanner::matchWildcardPattern(const TriePattern& pattern, const Rest& rest) {
    if (rest.length < pattern.length) return false;
    size_t group = 0;
    // The automaton's path has matched the first symbols, all of them literal.
    for (uint32_t i = pattern.depth; i < pattern.length; ++i) {
        const Symbol symbol = pattern.symbols[i];
        if (symbol == kAnySymbol) continue;
        const bool isMatch = symbol == kGroupSymbol
                                 ? isOneOf(rest.bytes[i], pattern.groups[group++])
                                 : rest.bytes[i] == symbol;
        if (!isMatch) return false;
    }
    matchPosition = rest.start + pattern.length;
    return true;
}

template <bool kTrace>
const TriePattern* TrieScanner::matchSimplePatternList(const TrieNode& node, const Rest& rest) {
    // A short pattern is no longer than the path that led here: it has matched.
    for (const VQPatternNode* entry = node.shortList.first(); entry != nullptr;
         entry = entry->next) {
        const TriePattern& pattern = patternOf(*entry);
        if (acceptSimple<kTrace>(pattern, rest)) return &pattern;
    }
    fastMatcher.SetPatternList(node.sorted.data(), static_cast<unsigned int>(node.sorted.size()));
    const void* found = fastMatcher.find(rest.bytes, rest.length);
    if (found == nullptr) return nullptr;
    const auto* entry =
        static_cast<const TriePatternNode*>(static_cast<const VQPatternNode*>(found));
    const TriePattern& pattern = entry->pattern();
    if (acceptSimple<kTrace>(pattern, rest)) return &pattern;
    return matchSamePrefixList<kTrace>(entry->samePrefix, rest);
}

template <bool kTrace>
const TriePattern* TrieScanner::matchSamePrefixList(const VQPatternList& list, const Rest& rest) {
    for (const VQPatternNode* node = list.first(); node != nullptr; node = node->next) {
        const TriePattern& pattern = patternOf(*node);
        if constexpr (kTrace) pattern.printSigInfo(rest.offset + pattern.length);
        if (pattern.length > rest.length ||
            std::memcmp(pattern.sig.data(), rest.bytes, pattern.length) != 0) {
            continue;
        }
        matchPosition = rest.start + pattern.length;
        if (verifyPattern(pattern, rest.offset)) return &pattern;
    }
    return nullptr;
}

template <bool kTrace>
bool TrieScanner::acceptSimple(const TriePattern& pattern, const Rest& rest) {
    if constexpr (kTrace) pattern.printSigInfo(rest.offset + pattern.length);
    matchPosition = rest.start + pattern.length;
    return verifyPattern(pattern, rest.offset);
}

bool TrieScanner::verifyPattern(const TriePattern& pattern, uint32_t pos) {
    const bool isFirst = pattern.sigid == 0 || pattern.partno == 1;
    if (isFirst && !pattern.beginsAt(pos)) return false;
    return findMatchedVirus(pattern, pos);
}

bool TrieScanner::findMatchedVirus(const TriePattern& pattern, uint32_t pos) {
    if (pattern.sigid == 0) {
        result->addPart(pattern, pos);
        return true;
    }
    const Progress before = progressOf(pattern.sigid);
    if (!pattern.mayFollow(before.partsMatched, before.partEnd, pos)) return false;
    result->addPart(pattern, pos);
    const Progress after = {before.partsMatched + 1, pos + pattern.length};
    progress.findOrInsert(pattern.sigid) = after;
    return after.partsMatched == pattern.parts;
}

}  // namespace STREAMENGINE_SPACE
