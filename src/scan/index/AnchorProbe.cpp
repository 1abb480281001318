#include "scan/index/AnchorProbe.h"

#include <algorithm>

#include "support/MD5Steps.h"
#include "support/VectorTarget.h"

#define ZVK_INLINE __attribute__((always_inline)) inline

namespace STREAMENGINE_SPACE {
namespace {

/// The probes of one stride, without a branch between them: while the loads of one are under way,
/// those of the next begin. Filters that hold nothing are left out at compile time.
template <bool kShort, bool kPairs>
struct StrideProbe {
    // Copies: the compiler cannot know that the bits written below are not part of the index.
    GramFilter::View longAnchors;
    GramFilter::View shortAnchors;
    GramFilter::View pairs;

    explicit StrideProbe(const AnchorTables& anchors)
        : longAnchors(anchors.longAnchors.view()),
          shortAnchors(anchors.shortAnchorFilter.view()),
          pairs(anchors.pairAnchors.view()) {}

    /// @return the bits of a block with those of the stride at `text` appended
    ZVK_INLINE ProbeBits append(ProbeBits bits, const uint8_t* text) const {
        bits = bits << 1 | (longAnchors.probe(text) & 1);
        for (uint32_t i = 0; i < kLongStride; i += kShortStride) {
            bits = bits << 1 | (kShort ? shortAnchors.probe(text + i) & 1 : 0);
        }
        if constexpr (kPairs) {
            uint64_t accepted = 0;
            for (uint32_t i = 0; i < kLongStride; ++i) accepted |= pairs.probe(text + i);
            if ((accepted & 1) != 0) bits |= (1U << kProbesPerStride) - 1;
        }
        return bits;
    }
};

template <class Probe>
ZVK_INLINE void probeBlocks(const Probe probe, const uint8_t* text, uint32_t blocks,
                            ProbeBits* bits) {
    for (uint32_t block = 0; block < blocks; ++block, text += kProbeBlock) {
        ProbeBits ofBlock = 0;
        for (uint32_t i = 0; i < kProbeBlock; i += kLongStride) {
            ofBlock = probe.append(ofBlock, text + i);
        }
        bits[block] = ofBlock;
    }
}

/// An MD5 block has 64 bytes as well, and 64 steps: a stride is probed after each fourth step.
template <class Probe>
ZVK_INLINE void probeAndDigest(const Probe probe, const uint8_t* text, uint32_t blocks,
                               ProbeBits* bits, DigestFeed& feed) {
    std::array<uint32_t, 4>* state = nullptr;
    const unsigned char* const digested = feed.takeBlocks(blocks, state);
    ProbeBits ofBlock = 0;
    const auto probeAside = [&](size_t block, size_t stride) __attribute__((always_inline)) {
        const uint8_t* const at = text + block * kProbeBlock + stride * kLongStride;
        ofBlock = probe.append(stride == 0 ? 0 : ofBlock, at);
        if (stride == kStridesPerBlock - 1) bits[block] = ofBlock;
    };
    QLT_SPACE::MD5Steps::fold(*state, digested, blocks, probeAside);
}

template <class Probe>
ZVK_INLINE void probeAll(const AnchorTables& anchors, const uint8_t* text, uint32_t blocks,
                         ProbeBits* bits, DigestFeed& feed) {
    const Probe probe(anchors);
    const uint32_t digested = std::min(blocks, static_cast<uint32_t>(feed.blocks()));
    if (digested != 0) probeAndDigest(probe, text, digested, bits, feed);
    probeBlocks(probe, text + size_t{digested} * kProbeBlock, blocks - digested, bits + digested);
}

using ProbeAll = void (*)(const AnchorTables&, const uint8_t*, uint32_t, ProbeBits*, DigestFeed&);

template <bool kShort, bool kPairs>
void probeBaseline(const AnchorTables& anchors, const uint8_t* text, uint32_t blocks,
                   ProbeBits* bits, DigestFeed& feed) {
    probeAll<StrideProbe<kShort, kPairs>>(anchors, text, blocks, bits, feed);
}

#ifdef ZVK_TARGET_BMI2
/// BMI2 shifts by a count in any register, so a probe takes fewer instructions.
template <bool kShort, bool kPairs>
ZVK_TARGET_BMI2 void probeBmi2(const AnchorTables& anchors, const uint8_t* text, uint32_t blocks,
                               ProbeBits* bits, DigestFeed& feed) {
    probeAll<StrideProbe<kShort, kPairs>>(anchors, text, blocks, bits, feed);
}
#endif

template <bool kShort, bool kPairs>
ProbeAll choose([[maybe_unused]] QLT_SPACE::VectorUnit unit) {
#ifdef ZVK_TARGET_BMI2
    if (QLT_SPACE::includesAvx2(unit)) return probeBmi2<kShort, kPairs>;
#endif
    return probeBaseline<kShort, kPairs>;
}

}  // namespace

void probeAnchors(const SignatureIndex& index, const uint8_t* text, uint32_t blocks,
                  ProbeBits* bits, DigestFeed& feed) {
    const AnchorTables& anchors = index.anchors;
    const ProbeAll chosen = !anchors.pairAnchors.isEmpty() ? choose<true, true>(index.vectorUnit)
                            : !anchors.shortAnchorFilter.isEmpty()
                                ? choose<true, false>(index.vectorUnit)
                                : choose<false, false>(index.vectorUnit);
    chosen(anchors, text, blocks, bits, feed);
}

}  // namespace STREAMENGINE_SPACE
