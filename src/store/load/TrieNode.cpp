#include "store/load/TrieNode.h"

#include "store/load/PatternLists.h"
#include "support/Allocation.h"
#include "support/Log.h"

namespace STREAMENGINE_SPACE {
namespace {

constexpr const char* kUnit = "ZVKPatternContainer";

}  // namespace

void TrieNode::setTrans() {
    if (trans != nullptr) return;
    trans = QLT_SPACE::makeUniqueOr<Transitions>("fail to allocate memory in setTrans");
}

void TrieNode::setTrans(int byte, TrieNode* next) {
    setTrans();
    (*trans)[static_cast<size_t>(byte)] = next;
}

TrieNode::ListKind TrieNode::addPattern(TriePatternNode& node) {
    const TriePattern& pattern = node.pattern();
    if (pattern.isWildcard) {
        wildcardList.pushFront(node);
        return ListKind::Wildcard;
    }
    if (pattern.length == pattern.depth) {
        shortList.pushFront(node);
        return ListKind::Short;
    }
    simpleList.pushFront(node);
    return ListKind::Simple;
}

void TrieNode::setSortedList() {
    ZVK_DEBUG("in SetSortedList");
    if (simpleList.empty()) return;
    // Sorted once, not by inserting each pattern at its place: thousands may share one prefix.
    PatternLists::sortPatternList(simpleList);
    PatternLists::buildSamePrefixList(simpleList);
    sorted = PatternLists::setSortedList(simpleList);
    ZVK_DEBUG("in SetSortedList, simple_patterns[%d]", static_cast<int>(sorted.size()));
    if (sorted.empty()) throw QLT_SPACE::Exception("TrieNode::setSortedList fail");
}

void TrieNode::freePattern() {
    if (Log::debugIsOn()) {
        for (const VQPatternNode* node = simpleList.first(); node != nullptr; node = node->next) {
            const size_t count = static_cast<const TriePatternNode*>(node)->samePrefix.size();
            for (size_t i = 0; i < count; ++i) ZVK_DEBUG("delete simple trie pat");
        }
    }
    shortList = simpleList = wildcardList = {};
}

}  // namespace STREAMENGINE_SPACE
