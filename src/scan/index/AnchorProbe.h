// AnchorProbe: the loop over the text that finds where an anchor of the index may stand.
//
// Where a stream is digested as well, both are done in one loop: an MD5 waits for itself most of
// the time, and the looks into the tables for nothing but room in the machine.
#pragma once

#include <cstdint>

#include "scan/digest/DigestFeed.h"
#include "store/index/SignatureIndex.h"

namespace STREAMENGINE_SPACE {

/// Where in a strip of 16 steps something may be found. A step has three bits, of its look into the
/// table of steps, at its first position, and of those into the filter of runs, at its first and
/// its third. The strip's first look has the highest of the 48 bits used, so that they are in the
/// order of positions. What may be found of pairs sets all three.
using ProbeBits = uint64_t;
constexpr uint32_t kProbeBlock = 16 * SignatureIndex::kStep;
constexpr uint32_t kProbesPerStep = 1 + SignatureIndex::kStep / SignatureIndex::kRunStep;
constexpr uint32_t kProbesPerBlock = 16 * kProbesPerStep;

/// Marks the looks that may find something.
/// @param text    the first strip; all that its looks read has to be readable
/// @param strips  how many there are
/// @param marks   room for those of each strip
/// @param feed    of which as many blocks are digested on the way
void probeAnchors(const SignatureIndex& index, const uint8_t* text, uint32_t strips,
                  ProbeBits* marks, DigestFeed& feed);

}  // namespace STREAMENGINE_SPACE
