// AnchorProbe: the loop over the text that finds where an anchor of the index may begin.
//
// A probe is a multiplication, a shift and a load, and fails nearly always, so the loop has no
// branch: it collects a bit per probe. Tables that hold nothing are not probed.
//
// Where the stream is digested as well, both are done in one loop. MD5 is one chain of dependent
// steps and leaves execution ports idle; the probes are independent of each other and fill them.
#pragma once

#include <cstdint>

#include "scan/digest/DigestFeed.h"
#include "store/index/SignatureIndex.h"

namespace STREAMENGINE_SPACE {

constexpr uint32_t kProbeBlock = 64;  // bytes

/// The probes of a block that a filter accepted, by table: bit i is the byte i of the block. Those
/// of pairs are set by probeShapes().
struct ProbeMarks {
    uint64_t longAnchors = 0;
    uint64_t wide = 0;
    uint64_t narrow = 0;
    uint64_t pairs = 0;

    uint64_t ofRuns() const { return wide | narrow | pairs; }
};

/// The filters of a search.
struct ProbeFilters {
    GramFilter::View longAnchors;
    GramFilter::View wide;
    GramFilter::View narrow;
    bool hasLong;
    bool hasWide;
    bool hasNarrow;
};

/// Probes whole blocks.
/// @param text    the first block; GramFilter::kReadLength bytes after the last one have to be
///                readable
/// @param blocks  how many there are
/// @param marks   room for the marks of each block
/// @param feed    as many blocks of it are digested on the way
void probeAnchors(const ProbeFilters& filters, QLT_SPACE::VectorUnit unit, const uint8_t* text,
                  uint32_t blocks, ProbeMarks* marks, DigestFeed& feed);

}  // namespace STREAMENGINE_SPACE
