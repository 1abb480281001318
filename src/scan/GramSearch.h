// GramSearch: the loop over the text that finds where an anchor of the index may stand.
//
// Where a stream is digested as well, both are done in one loop: an MD5 waits for itself most of
// the time, and the looks into the tables for nothing but room in the machine.
#pragma once

#include <cstdint>

#include "scan/DigestFeed.h"
#include "store/SignatureIndex.h"

namespace STREAMENGINE_SPACE {

/// A step is SignatureIndex::kStep positions long: the table of steps is looked into at its first,
/// that of runs at every kRunStep-th, that of pairs at each. A strip is as many steps as a mark has
/// bits.
using StripMark = uint16_t;
constexpr uint32_t kStripLength = 16 * SignatureIndex::kStep;

/// Marks the steps at which one of the looks may find something.
/// @param text    the first strip; all that its looks read has to be readable
/// @param strips  how many there are
/// @param marks   room for a mark of each strip; bit i is its step i
/// @param feed    of which as many blocks are digested on the way
void markGrams(const SignatureIndex& index, const uint8_t* text, uint32_t strips, StripMark* marks,
               DigestFeed& feed);

}  // namespace STREAMENGINE_SPACE
