// SignatureIndex: the body signatures of a set in the form that is searched.
//
// It is compiled from the trees and lists that were loaded. The records stay where they are; the
// index holds what leads to them: the units that the text is compared with, the anchors by which
// they are found, and the tree of the multi-part signatures. docs/search.md explains the search as
// a whole.
//
// Built by one thread in PatternContainer::prepare(), then read by any number of scanners.
#pragma once

#include <cstdint>
#include <vector>

#include "store/index/AnchorTables.h"
#include "store/index/IndexUnit.h"
#include "store/index/PartTree.h"
#include "support/VectorUnit.h"

namespace STREAMENGINE_SPACE {

class BmList;
class TrieTree;

struct SignatureIndex {
    /// Compiles an index.
    /// @param trieTree, bmList  prepared; borrowed until reset()
    /// @param unit              by which the index is going to be searched
    /// @throws std::bad_alloc, also for more than kMostUnits; the index has to be reset then
    void build(const TrieTree& trieTree, const BmList& bmList, QLT_SPACE::VectorUnit unit);
    void reset();

    bool hasTrieUnits() const { return tree.unitCount() + singleRanks.size() != 0; }
    /// @return the rank of a unit that is a single signature
    uint32_t rankOfSingle(uint32_t unit) const { return singleRanks[unit - tree.unitCount()]; }

    std::vector<IndexUnit> units;  // parts, then single signatures, then plain strings
    PartTree tree;
    std::vector<uint32_t> singleRanks;
    AnchorTables anchors;
    QLT_SPACE::VectorUnit vectorUnit = QLT_SPACE::VectorUnit::Baseline;
    uint64_t buildNumber = 0;  // no two builds of a process have the same
};

}  // namespace STREAMENGINE_SPACE
