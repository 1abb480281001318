#include "store/load/TrieTree.h"

#include <algorithm>
#include <queue>

#include "support/Allocation.h"
#include "support/Log.h"

namespace STREAMENGINE_SPACE {
namespace {

using QLT_SPACE::Exception;

constexpr const char* kUnit = "ZVKPatternContainer";

/// @return how many symbols lead the pattern before its first wildcard, kMaxDepth at most
uint32_t prefixDepth(const TriePattern& pattern) {
    const uint32_t longest = std::min(pattern.length, TrieTree::kMaxDepth);
    uint32_t depth = 0;
    while (depth < longest && !isWildcardSymbol(pattern.symbolAt(depth))) ++depth;
    return depth;
}

/// @return where the automaton goes on c after a state has failed: along the failure links to the
///         first state with a child for c. The root has one for every byte, so the loop ends.
TrieNode* fallback(TrieNode* failed, size_t c) {
    while (failed->isLeaf || (*failed->trans)[c] == nullptr) failed = failed->fail;
    return (*failed->trans)[c];
}

}  // namespace

void TrieTree::addPattern(const TriePattern* pattern) {
    if (pattern == nullptr) throw Exception("Trie:addPattern failed,Null pointer");
    const uint32_t depth = prefixDepth(*pattern);
    if (depth < kMinDepth) throw Exception("Trie:addPattern failed, too short pattern");
    QLT_SPACE::allocateOr("Alloacate trie pattern fail", [&] { records.reserve(*pattern); });
    if (root == nullptr) {
        TrieNode* first = newNode("fail to allocate memory for AC root");
        first->setTrans();
        root = first;
    }
    TriePattern placed = *pattern;
    placed.depth = static_cast<uint8_t>(depth);
    TrieNode* end = makePath(placed);
    end->hasPatterns = true;
    maxPatternLength = std::max(maxPatternLength, placed.length);
    ++countOf(end->addPattern(*records.keep(placed)));
}

int32_t& TrieTree::countOf(TrieNode::ListKind kind) {
    if (kind == TrieNode::ListKind::Wildcard) return ac_wildcard_patterns;
    return kind == TrieNode::ListKind::Short ? shortPatternCount : ac_simple_patterns;
}

TrieNode* TrieTree::newNode(const char* failure) {
    return QLT_SPACE::allocateOr(
        failure, [&] { return nodes.emplace_back(std::make_unique<TrieNode>()).get(); });
}

TrieNode* TrieTree::makePath(const TriePattern& pattern) {
    TrieNode* node = root;
    for (uint32_t i = 0; i < pattern.depth; ++i) {
        const auto byte = static_cast<uint8_t>(pattern.symbolAt(i));
        node->setTrans();
        TrieNode* next = (*node->trans)[byte];
        if (next == nullptr) {
            next = newNode("fail to new TrieNode");
            next->isLeaf = i + 1 == pattern.depth;
            next->depth = static_cast<uint8_t>(i + 1);
            if (!next->isLeaf) next->setTrans();
            node->setTrans(byte, next);
        }
        node->isLeaf = false;
        node = next;
    }
    return node;
}

// Example: the patterns "abcd", "abx" and "bcy" make these nodes, with their failure links:
//
//   root - a - ab - abc (abcd)      ab -> b, abc -> bc
//               \ -- abx (abx)      abx -> root
//        - b - bc - bcy (bcy)       a, b, bc, bcy -> root
//
// The scanner goes along the bytes of the text. Where a node has no child for the next byte, it
// takes the failure link: to the node of the longest proper suffix of what is read that is itself a
// prefix. In "abcy" it reaches "abc", where "abcd" is compared and does not match; "abc" has no
// child for "y", its link leads to "bc", and from there "y" leads to "bcy". No byte of the text is
// read again, and no prefix is missed.
//
// The links are made level by level. The link of the child for c of a node is found from the
// node's own link, which leads to a lower level and is known by then: it is where the automaton
// goes from there on c. A missing child of the root is the root itself: that byte begins no prefix.
void TrieTree::prepare() {
    if (root == nullptr || maxPatternLength == 0) return;
    std::queue<TrieNode*> pending;
    for (TrieNode*& child : *root->trans) {
        if (child == nullptr) {
            child = root;
        } else {
            child->fail = root;
            pending.push(child);
        }
    }
    while (!pending.empty()) {
        TrieNode* node = pending.front();
        pending.pop();
        if (node->hasPatterns) node->setSortedList();
        if (node->isLeaf) continue;
        for (size_t c = 0; c < node->trans->size(); ++c) {
            TrieNode* child = (*node->trans)[c];
            if (child == nullptr) continue;
            child->fail = fallback(node->fail, c);
            pending.push(child);
        }
    }
    ZVK_DEBUG("ac_simple_patterns [%d], ac_wildcard_patterns [%d]", ac_simple_patterns,
              ac_wildcard_patterns);
}

void TrieTree::reset() {
    nodes.clear();
    records.reset();
    root = nullptr;
    lastSigid = 0;
    maxPatternLength = 0;
}

}  // namespace STREAMENGINE_SPACE
