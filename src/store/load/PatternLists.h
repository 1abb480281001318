// PatternLists: the sorted lists of plain patterns that a trie node keeps.
#pragma once

#include <cstdint>
#include <vector>

#include "store/load/FastMatcher.h"
#include "store/record/VQPatternNode.h"

namespace STREAMENGINE_SPACE {

class PatternLists {
  public:
    /// Sorts a list by VQPatternNode::compareTo(). Equal patterns keep their order, so that those
    /// of a list that grew at its front are newest first.
    /// @throws QLT_SPACE::Exception as VQPatternNode::compareTo(); the list is then as it was
    static void sortPatternList(VQPatternList& list);

    /// Regroups a list of TriePatternNodes sorted by compareTo(): a node whose pattern begins with
    /// that of the node before it moves to the end of that node's samePrefix list. Afterwards no
    /// pattern of the list begins with another one of it.
    static void buildSamePrefixList(VQPatternList& list);

    /// Lists the nodes' bytes as a table for FastMatcher, each entry's value its VQPatternNode.
    /// The table borrows from the list. Empty, with a log line, for an empty list or a node that is
    /// of neither kind.
    static std::vector<PatInfo> setSortedList(const VQPatternList& list);
};

}  // namespace STREAMENGINE_SPACE
