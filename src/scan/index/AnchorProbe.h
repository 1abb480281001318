// AnchorProbe: the loop over the text that finds where an anchor of the index may begin.
//
// Per four positions it makes three probes: one for long anchors, at the first position, and two
// for short ones, at the first and the third. A probe is a multiplication, a shift and a load, and
// fails nearly always, so the loop has no branch: it collects a bit per probe.
//
// Where the stream is digested as well, both are done in one loop. MD5 is one chain of dependent
// steps and leaves execution ports idle; the probes are independent of each other and fill them.
#pragma once

#include <cstdint>

#include "scan/digest/DigestFeed.h"
#include "store/index/SignatureIndex.h"

namespace STREAMENGINE_SPACE {

/// The probes of a block of 64 bytes that a filter accepted: three bits per stride of four bytes,
/// the first probe of the block in the highest of the 48 bits that are used, so that counting
/// leading zeros gives them in the order of the text. A pair that may be there sets all three.
using ProbeBits = uint64_t;
constexpr uint32_t kStridesPerBlock = 16;
constexpr uint32_t kProbeBlock = kStridesPerBlock * kLongStride;  // bytes
constexpr uint32_t kProbesPerStride = 1 + kLongStride / kShortStride;
constexpr uint32_t kProbesPerBlock = kStridesPerBlock * kProbesPerStride;

/// Probes whole blocks.
/// @param text    the first block; GramFilter::kReadLength bytes after the last one have to be
///                readable
/// @param blocks  how many there are
/// @param bits    room for the bits of each block
/// @param feed    as many blocks of it are digested on the way
void probeAnchors(const SignatureIndex& index, const uint8_t* text, uint32_t blocks,
                  ProbeBits* bits, DigestFeed& feed);

}  // namespace STREAMENGINE_SPACE
