#include "store/TrieNode.h"

#include "engine/ZVKUtil.h"
#include "store/PatternParser.h"
#include "store/TrieTree.h"
#include "support/Allocation.h"

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

void TrieNode::addPattern(std::unique_ptr<TriePattern> pattern) {
    const bool isWildcard = pattern->isWildcard;
    const bool isShort = pattern->length == pattern->depth;
    auto node = std::make_unique<TriePatternNode>(std::move(pattern));
    if (isWildcard) {
        wildcardList.pushFront(std::move(node));
        ++tree.ac_wildcard_patterns;
    } else if (isShort) {
        shortList.pushFront(std::move(node));
        ++tree.shortPatternCount;
    } else {
        simpleList.pushFront(std::move(node));
        ++tree.ac_simple_patterns;
    }
}

void TrieNode::setSortedList() {
    ZVK_DEBUG("in SetSortedList");
    if (simpleList.empty()) return;
    // Sorted here, once: a thousand lines may share the head that leads to one node.
    PatternParser::sortPatternList(simpleList);
    PatternParser::buildSamePrefixList(simpleList);
    sorted = PatternParser::setSortedList(simpleList);
    ZVK_DEBUG("in SetSortedList, simple_patterns[%d]", static_cast<int>(sorted.size()));
    if (sorted.empty()) throw QLT_SPACE::Exception("TrieNode::setSortedList fail");
}

void TrieNode::freePattern() {
    shortList.clear();
    while (!simpleList.empty()) {
        const auto node = simpleList.popFront();
        while (!node->samePrefix.empty()) {
            ZVK_DEBUG("delete simple trie pat");
            node->samePrefix.popFront();
        }
    }
    wildcardList.clear();
}

}  // namespace STREAMENGINE_SPACE
