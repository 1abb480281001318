// TrieNode: one state of the automaton, with the patterns whose prefix ends there.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "store/load/FastMatcher.h"
#include "store/record/VQPatternNode.h"

namespace STREAMENGINE_SPACE {

class TrieNode {
  public:
    using Transitions = std::array<TrieNode*, 256>;

    TrieNode() = default;
    ~TrieNode() { freePattern(); }
    TrieNode(const TrieNode&) = delete;
    TrieNode& operator=(const TrieNode&) = delete;

    /// Gives the node a transition table of null entries if it has none.
    /// @throws QLT_SPACE::Exception "fail to allocate memory in setTrans"
    void setTrans();
    void setTrans(int byte, TrieNode* next);

    enum class ListKind { Wildcard, Short, Simple };

    /// Puts a pattern whose prefix ends here into the list that fits it.
    /// @param node  borrowed until freePattern()
    /// @return which list that is
    ListKind addPattern(TriePatternNode& node);

    /// Regroups simpleList and builds its sorted table.
    /// @throws QLT_SPACE::Exception "TrieNode::setSortedList fail"
    void setSortedList();

    /// Empties the lists of patterns, which the tree owns and frees.
    void freePattern();

    bool isLeaf = false;       // no table: the last node of a prefix, extended by no other
    bool hasPatterns = false;  // the prefix of at least one pattern ends here
    uint8_t depth = 0;         // 0 for the root, at most 3
    TrieNode* fail = nullptr;  // borrowed from the tree; null for the root
    std::unique_ptr<Transitions> trans;  // goto function by byte, entries borrowed from the tree

    // Newest first; simpleList once prepared sorted by compareTo().
    VQPatternList shortList;   // plain, as long as this node is deep: to reach it is to match
    VQPatternList simpleList;  // plain and longer
    VQPatternList wildcardList;
    std::vector<PatInfo> sorted;  // table of simpleList, once prepared
};

}  // namespace STREAMENGINE_SPACE
