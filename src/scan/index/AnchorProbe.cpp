#include "scan/index/AnchorProbe.h"

#include <algorithm>

#include "support/MD5Steps.h"
#include "support/VectorTarget.h"

#define ZVK_INLINE __attribute__((always_inline)) inline

namespace STREAMENGINE_SPACE {
namespace {

constexpr uint32_t kStride = kLongStride;  // bytes that one step probes

/// The probes of one stride, without a branch between them: while the loads of one are under way,
/// those of the next begin.
template <bool kLong, bool kWide, bool kNarrow>
struct StrideProbe {
    // Copies: the compiler cannot know that the marks written below are not part of the filters.
    ProbeFilters filters;

    /// Adds the marks of the stride at `text`, which is at `at` in its block.
    ZVK_INLINE void probe(ProbeMarks& marks, const uint8_t* text, uint32_t at) const {
        if constexpr (kLong) {
            marks.longAnchors |= (filters.longAnchors.probe(text) & 1) << at;
        }
        for (uint32_t i = 0; kWide && i < kStride; i += kWideStride) {
            marks.wide |= (filters.wide.probe(text + i) & 1) << (at + i);
        }
        for (uint32_t i = 0; kNarrow && i < kStride; ++i) {
            marks.narrow |= (filters.narrow.probe(text + i) & 1) << (at + i);
        }
    }
};

template <class Probe>
ZVK_INLINE void probeBlocks(const Probe probe, const uint8_t* text, uint32_t blocks,
                            ProbeMarks* marks) {
    for (uint32_t block = 0; block < blocks; ++block, text += kProbeBlock) {
        ProbeMarks ofBlock;
        for (uint32_t at = 0; at < kProbeBlock; at += kStride) {
            probe.probe(ofBlock, text + at, at);
        }
        marks[block] = ofBlock;
    }
}

/// An MD5 block has 64 bytes as well, and 64 steps: a stride is probed after each fourth step.
template <class Probe>
ZVK_INLINE void probeAndDigest(const Probe probe, const uint8_t* text, uint32_t blocks,
                               ProbeMarks* marks, DigestFeed& feed) {
    std::array<uint32_t, 4>* state = nullptr;
    const unsigned char* const digested = feed.takeBlocks(blocks, state);
    ProbeMarks ofBlock;
    const auto probeAside = [&](size_t block, size_t stride) __attribute__((always_inline)) {
        const auto at = static_cast<uint32_t>(stride) * kStride;
        if (stride == 0) ofBlock = {};
        probe.probe(ofBlock, text + block * kProbeBlock + at, at);
        if (at == kProbeBlock - kStride) marks[block] = ofBlock;
    };
    QLT_SPACE::MD5Steps::fold(*state, digested, blocks, probeAside);
}

template <class Probe>
ZVK_INLINE void probeAll(const ProbeFilters& filters, const uint8_t* text, uint32_t blocks,
                         ProbeMarks* marks, DigestFeed& feed) {
    const Probe probe = {filters};
    const uint32_t digested = std::min(blocks, static_cast<uint32_t>(feed.blocks()));
    if (digested != 0) probeAndDigest(probe, text, digested, marks, feed);
    probeBlocks(probe, text + size_t{digested} * kProbeBlock, blocks - digested, marks + digested);
}

using ProbeAll = void (*)(const ProbeFilters&, const uint8_t*, uint32_t, ProbeMarks*, DigestFeed&);

template <bool... kTables>
void probeBaseline(const ProbeFilters& filters, const uint8_t* text, uint32_t blocks,
                   ProbeMarks* marks, DigestFeed& feed) {
    probeAll<StrideProbe<kTables...>>(filters, text, blocks, marks, feed);
}

#ifdef ZVK_TARGET_BMI2
/// BMI2 shifts by a count in any register, so a probe takes fewer instructions.
template <bool... kTables>
ZVK_TARGET_BMI2 void probeBmi2(const ProbeFilters& filters, const uint8_t* text, uint32_t blocks,
                               ProbeMarks* marks, DigestFeed& feed) {
    probeAll<StrideProbe<kTables...>>(filters, text, blocks, marks, feed);
}
#endif

template <bool... kTables>
ProbeAll choose([[maybe_unused]] QLT_SPACE::VectorUnit unit) {
#ifdef ZVK_TARGET_BMI2
    if (QLT_SPACE::includesAvx2(unit)) return probeBmi2<kTables...>;
#endif
    return probeBaseline<kTables...>;
}

template <bool kLong>
ProbeAll chooseWith(const ProbeFilters& filters, QLT_SPACE::VectorUnit unit) {
    if (!filters.hasWide && !filters.hasNarrow) return choose<kLong, false, false>(unit);
    if (!filters.hasNarrow) return choose<kLong, true, false>(unit);
    return filters.hasWide ? choose<kLong, true, true>(unit) : choose<kLong, false, true>(unit);
}

}  // namespace

void probeAnchors(const ProbeFilters& filters, QLT_SPACE::VectorUnit unit, const uint8_t* text,
                  uint32_t blocks, ProbeMarks* marks, DigestFeed& feed) {
    const ProbeAll chosen =
        filters.hasLong ? chooseWith<true>(filters, unit) : chooseWith<false>(filters, unit);
    chosen(filters, text, blocks, marks, feed);
}

}  // namespace STREAMENGINE_SPACE
