// AnchorCompiler: chooses an anchor for each unit and enters it into the tables.
#pragma once

#include <vector>

#include "store/index/AnchorTables.h"
#include "store/index/IndexUnit.h"

namespace STREAMENGINE_SPACE {

class PartTree;

/// @param units   the parts first; their anchors and check bytes are set
/// @param tree    of the parts
/// @param hasShuffles  whether the search has a vector unit that looks bytes up in a register
/// @param tables  empty ones
/// @throws std::bad_alloc
void compileAnchors(std::vector<IndexUnit>& units, const PartTree& tree, bool hasShuffles,
                    AnchorTables& tables);

}  // namespace STREAMENGINE_SPACE
