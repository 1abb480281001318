#include "scan/normalise/MarkupState.h"

#include <algorithm>
#include <bit>

namespace STREAMENGINE_SPACE {
namespace {

constexpr size_t kBlock = NormaliseKernel::kBlock;

// Bytes that the scalar form takes when a match may begin: longer than any of the texts that are
// matched, as finding out where the match ends costs as much as some bytes.
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
        if (isBetweenMatches() && onlyTagsMatter()) {
            i += keepTags(marks + i, blockCount - i, keep + i);
            if (i == blockCount) break;
        }
        keep[i] = keepBlock(text + i * kBlock, marks[i], padding);
        ++i;
    }
}

// Where no declaration, comment or script begins, tags are all there is, and additions find them.
//
// The idea is that of bit streams for markup (Cameron, Herdy and Lin, CASCON 2008): in a binary
// addition a 1 that is added to the beginning of a row of 1s carries through the row and sets the
// first 0 after it. So let `run` have a 1 for each byte that is not ">". A tag reaches from a "<"
// to the next ">", that is to the end of its row: adding the "<" turns the tag's bits to 0 and sets
// the ">". The bytes before the "<" stay 1, and so they are no tag. A second "<" in the same row
// meets 0s and only sets itself; OR-ing the "<" in again brings it back into the tag. A ">" that no
// tag precedes is not set.
//
// A second addition cuts anchors: what is dropped of "<a href=x>" reaches from the byte after the
// "a" to the end of the tag, so this byte is added to the row of the tag's bits, and the bits that
// turn 0 are dropped. Only the "<" at which a tag begins makes an anchor, not one within a tag.
//
// Example, first byte at the left:
//
//   text     x _ < a _ b > y < / i >
//   run      1 1 1 1 1 1 . 1 1 1 1 .     all but ">"
//   open     . . 1 . . . . . 1 . . .
//   sum      1 1 . . . . 1 1 . . . 1     run + open
//   tag      . . 1 1 1 1 . . 1 1 1 .     bytes of run that the sum cleared
//   bodies   . . . . 1 . . . . . . .     where an anchor's dropped bytes begin
//   rest     . . 1 1 . . 1 . 1 1 1 .     tag + bodies
//   keep     . . 1 1 . . 1 . 1 1 1 1     tag and rest, with each ">" that the first sum set
//
// which is written as "<a></i>".
//
// A tag that goes on in the next block leaves a carry out of bit 63, which is added to that block's
// bit 0: inTag for the tag, bit 0 of dropped for the bytes of an anchor. Bit 1 of dropped means
// an anchor whose "<" was byte 63: its "a", byte 0 of the next block, is kept.
//
// It is exact because whether a byte is kept depends here on nothing but the first "<" since the
// last ">" and the letter after that "<". A "<" that may begin something else is marked rare, and
// the blocks before the first such one are taken. The cost is two additions and some fifteen
// logical operations for 64 bytes, and no branch on the text.
//
/// @return the blocks taken
size_t MarkupState::keepTags(const BlockMarks* marks, size_t blockCount, uint64_t* keep) {
    uint64_t inTag = isInText() ? 0 : 1;
    uint64_t dropped = isInDeclaration() ? 1 : 0;
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
    MarkupState state = *this;  // a copy, which stays in registers
    uint64_t keep = 0;
    for (size_t i = 0; i < count; ++i) keep |= (state.take(text[i]) ? uint64_t{1} : 0) << i;
    *this = state;
    return keep;
}

/// Takes a block in which something rare may begin, stretch by stretch: up to the next place where
/// a match may begin by masks, and from there some bytes by the scalar form, until no match is
/// under way any more.
uint64_t MarkupState::keepBlock(const char* text, const BlockMarks& marks, size_t padding) {
    uint64_t keep = 0;
    size_t i = padding;
    while (i < kBlock) {
        if (isBetweenMatches()) {
            const size_t next = nextMatch(marks, i);
            const uint64_t part = bitsFrom(i) & ~bitsFrom(next);
            if (isInScript()) {
                keep |= part & ~marks.space;
            } else if (!isInComment()) {
                // The other bytes of the block count as white space of the same tag or text.
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

/// @return the first byte from i on at which a match may begin that changes this state
size_t MarkupState::nextMatch(const BlockMarks& marks, size_t i) const {
    const auto first = [i](uint64_t bits) {
        return static_cast<size_t>(std::countr_zero(bits & bitsFrom(i)));
    };
    if (isInScript()) return first(marks.open);
    // A comment ends with "-->": the match begins up to two bytes before the ">", or before the end
    // of the block.
    if (isInComment()) return std::max(i + 2, first(marks.close)) - 2;
    return first(marks.rare);
}

}  // namespace STREAMENGINE_SPACE
