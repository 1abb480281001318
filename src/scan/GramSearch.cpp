#include "scan/GramSearch.h"

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

    /// @return 1 if one of them may find something, else 0
    ZVK_INLINE uint32_t at(const uint8_t* text) const {
        uint64_t found = steps.look(text);
        if constexpr (kRuns) {
            for (uint32_t i = 0; i < kStep; i += SignatureIndex::kRunStep)
                found |= runs.look(text + i);
        }
        if constexpr (kPairs) {
            for (uint32_t i = 0; i < kStep; ++i) found |= pairs.look(text + i);
        }
        return static_cast<uint32_t>(found & 1);
    }
};

template <class Looks>
ZVK_INLINE void mark(const Looks looks, const uint8_t* text, uint32_t strips, StripMark* marks) {
    for (uint32_t strip = 0; strip < strips; ++strip, text += kStripLength) {
        uint32_t found = 0;
        for (uint32_t i = 0; i < 16; ++i) found |= looks.at(text + i * kStep) << i;
        marks[strip] = static_cast<StripMark>(found);
    }
}

template <class Looks>
ZVK_INLINE void markAndDigest(const Looks looks, const uint8_t* text, uint32_t strips,
                              StripMark* marks, DigestFeed& feed) {
    std::array<uint32_t, 4>* state = nullptr;
    const unsigned char* const blocks = feed.takeBlocks(strips, state);
    uint32_t found = 0;
    const auto lookAside = [&](size_t strip, size_t step) __attribute__((always_inline)) {
        found = (step == 0 ? 0 : found) | looks.at(text + strip * kStripLength + step * kStep)
                                              << step;
        if (step == 15) marks[strip] = static_cast<StripMark>(found);
    };
    QLT_SPACE::MD5Steps::fold(*state, blocks, strips, lookAside);
}

template <class Looks>
ZVK_INLINE void markAll(const SignatureIndex& index, const uint8_t* text, uint32_t strips,
                        StripMark* marks, DigestFeed& feed) {
    const Looks looks(index);
    const uint32_t digested = std::min(strips, static_cast<uint32_t>(feed.blocks()));
    if (digested != 0) markAndDigest(looks, text, digested, marks, feed);
    mark(looks, text + size_t{digested} * kStripLength, strips - digested, marks + digested);
}

using MarkAll = void (*)(const SignatureIndex&, const uint8_t*, uint32_t, StripMark*, DigestFeed&);

template <bool kRuns, bool kPairs>
void markPlain(const SignatureIndex& index, const uint8_t* text, uint32_t strips, StripMark* marks,
               DigestFeed& feed) {
    markAll<Looks<kRuns, kPairs>>(index, text, strips, marks, feed);
}

#ifdef ZVK_WIDE
template <bool kRuns, bool kPairs>
ZVK_WIDE void markWide(const SignatureIndex& index, const uint8_t* text, uint32_t strips,
                       StripMark* marks, DigestFeed& feed) {
    markAll<Looks<kRuns, kPairs>>(index, text, strips, marks, feed);
}
#endif

template <bool kRuns, bool kPairs>
MarkAll choose([[maybe_unused]] QLT_SPACE::Kernel kernel) {
#ifdef ZVK_WIDE
    if (kernel >= QLT_SPACE::Kernel::Avx2) return markWide<kRuns, kPairs>;
#endif
    return markPlain<kRuns, kPairs>;
}

}  // namespace

void markGrams(const SignatureIndex& index, const uint8_t* text, uint32_t strips, StripMark* marks,
               DigestFeed& feed) {
    const MarkAll chosen = !index.pairs.isClosed()  ? choose<true, true>(index.kernel)
                           : !index.runs.isClosed() ? choose<true, false>(index.kernel)
                                                    : choose<false, false>(index.kernel);
    chosen(index, text, strips, marks, feed);
}

}  // namespace STREAMENGINE_SPACE
