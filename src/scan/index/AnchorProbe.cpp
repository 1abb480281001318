#include "scan/index/AnchorProbe.h"

#include <algorithm>

#include "support/MD5Steps.h"

#ifdef __x86_64__
// Shifts by a count in any register: a look takes fewer instructions.
#define ZVK_WIDE __attribute__((target("bmi2")))
#endif
#define ZVK_INLINE __attribute__((always_inline)) inline

namespace STREAMENGINE_SPACE {
namespace {

constexpr uint32_t kStep = SignatureIndex::kStep;

/// The looks of one step, without a branch between them: they seldom find something, and while the
/// loads of one are under way those of the next begin.
template <bool kRuns, bool kPairs>
struct Looks {
    // Copies: the compiler cannot know that what is written below is not the index.
    GramFilter::View steps;
    GramFilter::View runs;
    GramFilter::View pairs;

    explicit Looks(const SignatureIndex& index)
        : steps(index.steps.view()), runs(index.runs.view()), pairs(index.pairs.view()) {}

    /// @return the marks of a strip with those of the step at `text` behind them
    ZVK_INLINE ProbeBits add(ProbeBits marks, const uint8_t* text) const {
        marks = marks << 1 | (steps.look(text) & 1);
        for (uint32_t i = 0; i < kStep; i += SignatureIndex::kRunStep) {
            marks = marks << 1 | (kRuns ? runs.look(text + i) & 1 : 0);
        }
        if constexpr (kPairs) {
            uint64_t found = 0;
            for (uint32_t i = 0; i < kStep; ++i) found |= pairs.look(text + i);
            if ((found & 1) != 0) marks |= (1U << kProbesPerStep) - 1;
        }
        return marks;
    }
};

template <class Looks>
ZVK_INLINE void mark(const Looks looks, const uint8_t* text, uint32_t strips, ProbeBits* marks) {
    for (uint32_t strip = 0; strip < strips; ++strip, text += kProbeBlock) {
        ProbeBits found = 0;
        for (uint32_t i = 0; i < kProbeBlock; i += kStep) found = looks.add(found, text + i);
        marks[strip] = found;
    }
}

template <class Looks>
ZVK_INLINE void markAndDigest(const Looks looks, const uint8_t* text, uint32_t strips,
                              ProbeBits* marks, DigestFeed& feed) {
    std::array<uint32_t, 4>* state = nullptr;
    const unsigned char* const blocks = feed.takeBlocks(strips, state);
    ProbeBits found = 0;
    const auto lookAside = [&](size_t strip, size_t step) __attribute__((always_inline)) {
        const uint8_t* const at = text + strip * kProbeBlock + step * kStep;
        found = looks.add(step == 0 ? 0 : found, at);
        if (step == 15) marks[strip] = found;
    };
    QLT_SPACE::MD5Steps::fold(*state, blocks, strips, lookAside);
}

template <class Looks>
ZVK_INLINE void markAll(const SignatureIndex& index, const uint8_t* text, uint32_t strips,
                        ProbeBits* marks, DigestFeed& feed) {
    const Looks looks(index);
    const uint32_t digested = std::min(strips, static_cast<uint32_t>(feed.blocks()));
    if (digested != 0) markAndDigest(looks, text, digested, marks, feed);
    mark(looks, text + size_t{digested} * kProbeBlock, strips - digested, marks + digested);
}

using MarkAll = void (*)(const SignatureIndex&, const uint8_t*, uint32_t, ProbeBits*, DigestFeed&);

template <bool kRuns, bool kPairs>
void markPlain(const SignatureIndex& index, const uint8_t* text, uint32_t strips, ProbeBits* marks,
               DigestFeed& feed) {
    markAll<Looks<kRuns, kPairs>>(index, text, strips, marks, feed);
}

#ifdef ZVK_WIDE
template <bool kRuns, bool kPairs>
ZVK_WIDE void markWide(const SignatureIndex& index, const uint8_t* text, uint32_t strips,
                       ProbeBits* marks, DigestFeed& feed) {
    markAll<Looks<kRuns, kPairs>>(index, text, strips, marks, feed);
}
#endif

template <bool kRuns, bool kPairs>
MarkAll choose([[maybe_unused]] QLT_SPACE::VectorUnit unit) {
#ifdef ZVK_WIDE
    if (QLT_SPACE::includesAvx2(unit)) return markWide<kRuns, kPairs>;
#endif
    return markPlain<kRuns, kPairs>;
}

}  // namespace

void probeAnchors(const SignatureIndex& index, const uint8_t* text, uint32_t strips,
                  ProbeBits* marks, DigestFeed& feed) {
    const MarkAll chosen = !index.pairs.isClosed()  ? choose<true, true>(index.vectorUnit)
                           : !index.runs.isClosed() ? choose<true, false>(index.vectorUnit)
                                                    : choose<false, false>(index.vectorUnit);
    chosen(index, text, strips, marks, feed);
}

}  // namespace STREAMENGINE_SPACE
