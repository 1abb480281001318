// UnitList: the units of an index, listed from the trees and lists that were loaded.
#pragma once

#include <vector>

#include "store/index/IndexUnit.h"
#include "store/index/PartTree.h"

namespace STREAMENGINE_SPACE {

class BmList;
class TrieTree;

struct UnitList {
    std::vector<IndexUnit> units;  // parts, then single signatures, then plain strings; anchors and
                                   // check bytes unset
    PartTree tree;
    std::vector<uint32_t> singleRanks;  // of the single signatures
};

/// Lists the units. Ranks and the numbers of plain strings follow the order in which the loaded
/// form tries its patterns: by the start of the match (so a prefix of two bytes before one of three
/// at the same start), then by node and by the order of the node's lists. A search that finds
/// several matches at one start reports the first by this order, as the loaded form does.
/// @param trieTree, bmList  prepared; their records are borrowed
/// @throws std::bad_alloc, also for more than kMostUnits
UnitList listUnits(const TrieTree& trieTree, const BmList& bmList);

}  // namespace STREAMENGINE_SPACE
