#include "scan/normalise/MarkupState.h"

#include <algorithm>
#include <bit>

namespace STREAMENGINE_SPACE {
namespace {

constexpr size_t kBlock = NormaliseKernel::kBlock;

// What the plain form takes at once: a match and a little more. To look for what ends the state
// costs as much as some bytes.
constexpr size_t kMatched = 12;

/// @return a + b + carryIn
/// @param carryOut  the bit that does not fit
uint64_t add(uint64_t a, uint64_t b, uint64_t carryIn, uint64_t& carryOut) {
    const uint64_t sum = a + b;
    const uint64_t all = sum + carryIn;
    carryOut = static_cast<uint64_t>(sum < a) | static_cast<uint64_t>(all < sum);
    return all;
}

/// @return the bits of a block's bytes from this one on
uint64_t bitsFrom(size_t bit) {
    return bit < kBlock ? ~uint64_t{0} << bit : 0;
}

}  // namespace

void MarkupState::keepBlocks(const char* text, const BlockMarks* marks, size_t blockCount,
                             size_t padding, uint64_t* keep) {
    size_t i = 0;
    while (i < blockCount) {
        if (isBetweenMatches() && htmlState != HtmlState::Script &&
            htmlState != HtmlState::Comment) {
            i += keepTags(marks + i, blockCount - i, keep + i);
            if (i == blockCount) break;
        }
        keep[i] = keepBlock(text + i * kBlock, marks[i], padding);
        ++i;
    }
}

// A tag reaches from the first "<" of a run of bytes other than ">" to the run's end: added to the
// run, the "<" carries through all that is tag and sets the ">" behind it. A later "<" of the run
// only sets itself in the sum. In the same way what is dropped of an anchor reaches from the second
// byte behind its "<" to the end of the tag.
//
// Bits that are carried out of a block stand for the next one's first bytes: inTag and the lower
// bit of dropped for byte 0. The second bit of dropped says that an anchor's "<" was the last byte;
// the "a", byte 0, is kept.
//
/// Goes on up to a block in which a declaration, comment or script may begin.
/// @return the blocks taken
size_t MarkupState::keepTags(const BlockMarks* marks, size_t blockCount, uint64_t* keep) {
    uint64_t inTag = htmlState == HtmlState::Text ? 0 : 1;
    uint64_t dropped = htmlState == HtmlState::Declaration ? 1 : 0;
    size_t i = 0;
    for (; i < blockCount && marks[i].rare == 0; ++i) {
        const BlockMarks& m = marks[i];
        uint64_t carried = 0;
        const uint64_t run = ~m.close;
        const uint64_t sum = add(run, m.open, inTag, carried);
        const uint64_t tag = run & (~sum | m.open);
        const uint64_t anchor = m.anchor & ~(tag << 1 | inTag);
        const uint64_t bodies = (dropped | anchor << 2) & tag;
        uint64_t drop = 0;
        const uint64_t rest = add(tag, bodies, 0, drop);
        keep[i] = ((tag & rest) | (m.close & sum)) & ~m.space;
        inTag = carried;
        dropped = drop | anchor >> 62;
    }
    if (i != 0) {
        htmlState = inTag == 0         ? HtmlState::Text
                    : dropped % 2 != 0 ? HtmlState::Declaration
                                       : HtmlState::Tag;
        tagMatch = dropped == 2 ? 1 : 0;
    }
    return i;
}

uint64_t MarkupState::keepBytes(const char* text, size_t count) {
    MarkupState state = *this;  // in registers
    uint64_t keep = 0;
    for (size_t i = 0; i < count; ++i) keep |= (state.take(text[i]) ? uint64_t{1} : 0) << i;
    *this = state;
    return keep;
}

/// Goes from match to match: the plain form takes what begins one, and some bytes more.
uint64_t MarkupState::keepBlock(const char* text, const BlockMarks& marks, size_t padding) {
    uint64_t keep = 0;
    size_t i = padding;
    while (i < kBlock) {
        if (isBetweenMatches()) {
            const size_t next = nextMatch(marks, i);
            const uint64_t part = bitsFrom(i) & ~bitsFrom(next);
            if (htmlState == HtmlState::Script) {
                keep |= part & ~marks.space;
            } else if (htmlState != HtmlState::Comment) {
                const BlockMarks between = {marks.open & part, marks.close & part,
                                            marks.space | ~part, marks.anchor & part, 0};
                uint64_t kept = 0;
                keepTags(&between, 1, &kept);
                keep |= kept;
            }
            i = next;
            if (i == kBlock) break;
        }
        const size_t count = std::min(kMatched, kBlock - i);
        keep |= keepBytes(text + i, count) << i;
        i += count;
    }
    return keep;
}

/// @return where, from byte i on, something may begin that this state has to be told of
size_t MarkupState::nextMatch(const BlockMarks& marks, size_t i) const {
    const auto first = [i](uint64_t bits) {
        return static_cast<size_t>(std::countr_zero(bits & bitsFrom(i)));
    };
    if (htmlState == HtmlState::Script) return first(marks.open);
    // Dashes count: at most two, in front of what may end a comment or of the next block.
    if (htmlState == HtmlState::Comment) return std::max(i + 2, first(marks.close)) - 2;
    return first(marks.rare);
}

}  // namespace STREAMENGINE_SPACE
