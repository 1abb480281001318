// The forms of the normaliser's kernel, one a source file, and the choice among them.
#pragma once

#include "scan/normalise/NormaliseKernel.h"
#include "support/VectorUnit.h"

namespace STREAMENGINE_SPACE {

/// @param unit  one that this machine has
/// @return its kernel, or null where only the scalar form runs
const NormaliseKernel* normaliseKernel(QLT_SPACE::VectorUnit unit);

#ifdef __SSE2__
extern const NormaliseKernel kNormaliseSse2;
#endif

#ifdef __x86_64__

extern const NormaliseKernel kNormaliseAvx2;
extern const NormaliseKernel kNormaliseAvx512;

// White space by one table lookup a byte. A shuffle takes, for each lane, the table's entry at the
// lane's low four bits, or 0 where the lane's highest bit is set. The six white space bytes (09 to
// 0D and 20) differ in their low four bits, so each has an entry of its own. A byte is white space
// if the entry that it selects is the byte itself. Example: "i", 69, selects entry 9, which is 09,
// a tab: not equal, so no white space. The other entries hold FF, which no byte finds there: FF
// itself has its highest bit set and gets 0. This takes two instructions where comparisons of
// ranges take five (Langdale and Lemire, The VLDB Journal 28(6), 2019, classify bytes this way).
inline constexpr char kSpaceByLowBits[16] = {' ', -1,   -1,   -1,   -1,   -1,   -1, -1,
                                             -1,  '\t', '\n', '\v', '\f', '\r', -1, -1};

#endif

}  // namespace STREAMENGINE_SPACE
