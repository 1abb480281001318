// UnitComparison: whether a unit matches at a place of the text, symbol by symbol.
#pragma once

#include <cstdint>

#include "store/index/IndexUnit.h"

namespace STREAMENGINE_SPACE {

/// @param text    where the unit begins
/// @param length  symbols to compare: the unit's length, or less where the text ends before
/// @return whether the unit's first length symbols match
bool matchesAt(const IndexUnit& unit, const uint8_t* text, uint32_t length);

}  // namespace STREAMENGINE_SPACE
