// GramSearch: the loop over the text that finds where an anchor of the index may stand.
#pragma once

#include <cstdint>

#include "store/SignatureIndex.h"
#include "support/Kernel.h"

namespace STREAMENGINE_SPACE {

/// Goes from step to step until one of the looks that belong to a step may find something. A step
/// is SignatureIndex::kStep positions long; the table of steps is looked into at its first, that of
/// runs at every runStep-th, that of pairs at each.
/// @param at    the first step's first position
/// @param stop  all looks of steps that begin in front of it have to be readable
/// @return the first position of a step with something to look at; stop or more if there is none
uint32_t findGrams(const SignatureIndex& index, const uint8_t* text, uint32_t at, uint32_t stop);

}  // namespace STREAMENGINE_SPACE
