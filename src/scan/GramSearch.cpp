#include "scan/GramSearch.h"

namespace STREAMENGINE_SPACE {
namespace {

constexpr uint32_t kStep = SignatureIndex::kStep;

#ifdef __x86_64__
// Shifts by a count that is not in a fixed register: a look takes seven instructions instead of
// nine.
#define ZVK_SHIFTS __attribute__((target("bmi2")))
#endif

/// The looks of a step are made without a branch between them: they seldom find something, and the
/// loads of one wait while those of the next go on.
template <uint32_t kRunStep, bool kPairs>
inline __attribute__((always_inline)) uint32_t search(const SignatureIndex& index,
                                                      const uint8_t* text, uint32_t at,
                                                      uint32_t stop) {
    // Copies: the compiler cannot know that nothing below writes to the index.
    const GramFilter::View steps = index.steps.view();
    const GramFilter::View runs = index.runs.view();
    const GramFilter::View pairs = index.pairs.view();
    for (; at < stop; at += kStep) {
        uint64_t found = steps.look(text + at);
        if constexpr (kRunStep != 0) {
            for (uint32_t i = 0; i < kStep; i += kRunStep) found |= runs.look(text + at + i);
        }
        if constexpr (kPairs) {
            for (uint32_t i = 0; i < kStep; ++i) found |= pairs.look(text + at + i);
        }
        if ((found & 1) != 0) return at;
    }
    return at;
}

template <uint32_t kRunStep, bool kPairs>
uint32_t searchPlain(const SignatureIndex& index, const uint8_t* text, uint32_t at, uint32_t stop) {
    return search<kRunStep, kPairs>(index, text, at, stop);
}

#ifdef ZVK_SHIFTS
template <uint32_t kRunStep, bool kPairs>
ZVK_SHIFTS uint32_t searchShifting(const SignatureIndex& index, const uint8_t* text, uint32_t at,
                                   uint32_t stop) {
    return search<kRunStep, kPairs>(index, text, at, stop);
}
#endif

template <uint32_t kRunStep, bool kPairs>
uint32_t searchWith(const SignatureIndex& index, const uint8_t* text, uint32_t at, uint32_t stop) {
#ifdef ZVK_SHIFTS
    if (index.kernel >= QLT_SPACE::Kernel::Avx2) {
        return searchShifting<kRunStep, kPairs>(index, text, at, stop);
    }
#endif
    return searchPlain<kRunStep, kPairs>(index, text, at, stop);
}

}  // namespace

uint32_t findGrams(const SignatureIndex& index, const uint8_t* text, uint32_t at, uint32_t stop) {
    if (!index.pairs.empty()) return searchWith<1, true>(index, text, at, stop);
    if (index.runs.empty()) return searchWith<0, false>(index, text, at, stop);
    if (index.runStep == 1) return searchWith<1, false>(index, text, at, stop);
    return searchWith<2, false>(index, text, at, stop);
}

}  // namespace STREAMENGINE_SPACE
