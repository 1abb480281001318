#include "scan/index/AnchorWalk.h"

#include <algorithm>
#include <array>
#include <bit>

#include "support/ByteOrder.h"

namespace STREAMENGINE_SPACE {

// A table lookup loads a gram and then the entry's tail, each of at most kReadLength bytes.
static_assert(SearchText::kSlack >= size_t{2} * GramFilter::kReadLength);

// The stretch is probed in three ways, from fast to careful. Whole blocks of 64 bytes go through
// the branchless loop. What is left of the stretch is probed stride by stride. In the last bytes of
// the text a gram may not fit any more, although its bytes can be loaded (SearchText::kSlack):
// there each table is asked only where one of its grams has room.
void AnchorWalk::advance(uint32_t at, uint32_t stop) {
    // Before `safe` all probes of a stride read inside the text.
    constexpr uint32_t kMargin = GramFilter::kReadLength + kLongStride;
    const uint32_t safe = text.length > kMargin ? std::min(stop, text.length - kMargin) : 0;
    const uint32_t blocks = safe > at ? (safe - at) / kProbeBlock : 0;
    std::array<ProbeBits, kLongestStretch / kProbeBlock> bits;  // NOLINT: filled right below
    probeAnchors(index, text.bytes + at, blocks, bits.data(), feed);
    for (uint32_t block = 0; block < blocks; ++block, at += kProbeBlock) {
        followBits(bits[block], at);
    }
    for (; at < safe; at += kLongStride) probeStride(at);
    // By distances: the end may be just below 4 GiB.
    for (; stop - at > kLongStride; at += kLongStride) probeNearEnd(at);
    if (at < stop) probeNearEnd(at);
}

// The bits of a block in the order of the text, three per stride: bit 0 is the probe for long
// anchors, bits 1 and 2 those for short ones. Example: the seventh bit from the left belongs to the
// third stride and is its probe for long anchors, 8 bytes after `at`. If the index has pairs, a set
// bit only says that something may be in the stride, and all of the stride is probed again.
void AnchorWalk::followBits(ProbeBits bits, uint32_t at) {
    const bool hasPairs = !anchors.pairAnchors.isEmpty();
    for (bits <<= 64 - kProbesPerBlock; bits != 0;) {
        const auto probe = static_cast<uint32_t>(std::countl_zero(bits));
        bits &= ~(ProbeBits{1} << 63 >> probe);
        const uint32_t stride = probe / kProbesPerStride;
        const uint32_t place = probe % kProbesPerStride;
        const uint32_t strideAt = at + stride * kLongStride;
        if (hasPairs) {
            probeStride(strideAt);
            bits &= ~ProbeBits{0} >> (stride + 1) * kProbesPerStride;
        } else if (place == 0) {
            findLong(strideAt, anchors.longAnchors.hash(text.bytes + strideAt));
        } else {
            findShort(strideAt + (place - 1) * kShortStride);
        }
    }
}

void AnchorWalk::probeStride(uint32_t at) {
    probeLong(at);
    const bool hasPairs = !anchors.pairAnchors.isEmpty();
    for (uint32_t i = at; i < at + kLongStride; ++i) {
        if ((i - at) % kShortStride == 0) probeShort(i);
        if (hasPairs) find(anchors.pairAnchors, i);
    }
}

/// The same, where the text may end after a gram or inside it.
void AnchorWalk::probeNearEnd(uint32_t at) {
    if (hasRoom(anchors.longAnchors, at)) probeLong(at);
    const uint32_t count = std::min(kLongStride, text.length - at);
    for (uint32_t i = 0; i < count; ++i) {
        if (i % kShortStride == 0) probeShort(at + i);
        find(anchors.pairAnchors, at + i);
    }
}

void AnchorWalk::probeLong(uint32_t at) {
    const uint64_t hash = anchors.longAnchors.hash(text.bytes + at);
    if (anchors.longAnchors.mayHold(hash)) findLong(at, hash);
}

void AnchorWalk::findLong(uint32_t at, uint64_t hash) {
    for (const LongAnchorEntry entry : anchors.longAnchors.bucket(hash)) {
        const IndexUnit& unit = index.units[entry.unit()];
        if (filter.isRuledOut(unit.kind, entry.unit())) continue;
        filter.consider(entry.unit(), unit.anchor + entry.place(), at);
    }
}

void AnchorWalk::probeShort(uint32_t at) {
    const GramFilter& grams = anchors.shortAnchorFilter;
    if (hasRoom(grams, at) && grams.mayHold(grams.hash(text.bytes + at))) findShort(at);
}

/// The filter holds an anchor's first two grams, so the anchor begins at the probe or a byte
/// before.
void AnchorWalk::findShort(uint32_t at) {
    for (const auto* table : {&anchors.shortAnchors, &anchors.crowdedAnchors}) {
        if (at != 0) find(*table, at - 1);
        find(*table, at);
    }
}

void AnchorWalk::find(const GramTable<AnchorEntry>& table, uint32_t at) {
    const uint64_t hash = table.hash(text.bytes + at);
    if (!hasRoom(table, at) || !table.mayHold(hash)) return;
    const uint32_t afterGram = at + table.gramWidth();
    const auto tail = loadLittleEndian<uint32_t>(text.bytes + afterGram);
    for (const AnchorEntry& entry : table.bucket(hash)) {
        if (!entry.tailFits(tail, text.length - afterGram)) continue;
        if (filter.isRuledOut(entry.kind(), entry.unit)) continue;
        filter.consider(entry.unit, index.units[entry.unit].anchor, at);
    }
}

}  // namespace STREAMENGINE_SPACE
