// TrieTree: the automaton that finds body signatures and, in a second tree, type signatures.
//
// An Aho-Corasick automaton (Aho and Corasick, CACM 18(6), 1975), but over the first two or three
// bytes of each pattern only. With whole patterns a large set would have millions of nodes, each
// with a table of 256 pointers. Here nodes exist for the prefixes alone, and each keeps the
// patterns whose prefix ends there for the scanner to compare in full. A prefix is three bytes
// long, or two where the pattern has only two or its third symbol is a wildcard.
//
// In general a scanner has to follow the failure links at each node, as shorter patterns may end at
// the same byte. Here patterns end at depth 2 or 3 only, a node of depth 3 is always a leaf, and
// the failure link of a node of depth 2 leads to depth 1 or the root, which never hold patterns. So
// it is enough to follow the links from leaves.
//
// Built by one thread; after prepare() any number of scanners read it.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "store/load/TrieNode.h"
#include "store/record/RecordArena.h"

namespace STREAMENGINE_SPACE {

class TrieTree {
  public:
    static constexpr uint32_t kMaxDepth = 3;
    static constexpr uint32_t kMinDepth = 2;  // literal bytes that have to lead every part

    /// Adds a copy of one part, what it borrows included; its depth is set here.
    /// @throws QLT_SPACE::Exception if the part is null or led by fewer than two literal bytes; if
    ///         memory runs out
    void addPattern(const TriePattern* pattern);

    /// Builds failure links and sorted lists; has to follow the last addPattern().
    /// @throws QLT_SPACE::Exception if a sorted list cannot be built
    void prepare();

    /// Frees everything that was added. The four counts go on from where they are.
    void reset();

    /// @return all nodes, root first, then in the order in which they were made
    const std::vector<std::unique_ptr<TrieNode>>& allNodes() const { return nodes; }

    TrieNode* root = nullptr;       // borrowed from nodes; null while the tree is empty
    uint32_t lastSigid = 0;         // the last number given to a multi-part signature
    uint32_t maxPatternLength = 0;  // longest part in symbols; also of a part that was refused
    int32_t ac_simple_patterns = 0;
    int32_t ac_wildcard_patterns = 0;
    int32_t shortPatternCount = 0;
    int32_t sigCount = 0;  // signatures added

  private:
    /// @return the count of the patterns in the lists of a kind
    int32_t& countOf(TrieNode::ListKind kind);
    TrieNode* newNode(const char* failure);
    /// @return the node at which the path of the pattern's prefix ends, built where it is missing
    TrieNode* makePath(const TriePattern& pattern);

    RecordArena records;  // owns the patterns; outlives nodes, which log them at their end
    std::vector<std::unique_ptr<TrieNode>> nodes;  // owns all; root first, then creation order
};

}  // namespace STREAMENGINE_SPACE
