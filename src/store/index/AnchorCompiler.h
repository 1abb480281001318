// AnchorCompiler: chooses an anchor for each unit and enters it into the tables.
#pragma once

#include <vector>

#include "store/index/AnchorTables.h"

namespace STREAMENGINE_SPACE {

/// @param units   their anchors and check bytes are set
/// @param tables  empty ones
/// @throws std::bad_alloc
void compileAnchors(std::vector<IndexUnit>& units, AnchorTables& tables);

}  // namespace STREAMENGINE_SPACE
