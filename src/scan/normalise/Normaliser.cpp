#include "scan/normalise/Normaliser.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <string_view>

#include "scan/normalise/NormaliseForms.h"
#include "support/Ascii.h"

namespace STREAMENGINE_SPACE {
namespace {

using QLT_SPACE::isSpace;
using QLT_SPACE::lowered;

constexpr size_t kBlock = NormaliseKernel::kBlock;
constexpr size_t kAhead = NormaliseKernel::kAhead;
constexpr size_t kLookahead = 2;    // bytes after a "<" that its marks depend on
constexpr size_t kShortest = 16;    // blocks do not pay for less input or room
constexpr size_t kMostBlocks = 32;  // marked at once: their masks stay in the first-level cache

/// @return how many of the blocks leave some room: the byte that fills the room up has to be the
///         last one consumed
size_t fittingBlocks(const uint64_t* keep, size_t blockCount, size_t room) {
    size_t length = 0;
    for (size_t i = 0; i < blockCount; ++i) {
        length += static_cast<size_t>(std::popcount(keep[i]));
        if (length >= room) return i;
    }
    return blockCount;
}

}  // namespace

/// How far a call has come: the input left and the room left.
struct Normaliser::Cursor {
    const char* in;
    const char* inEnd;
    char* out;
    char* outEnd;

    size_t left() const { return static_cast<size_t>(inEnd - in); }
    size_t room() const { return static_cast<size_t>(outEnd - out); }
};

Normaliser::Normaliser(QLT_SPACE::VectorUnit unit) : kernel(normaliseKernel(unit)) {}

unsigned int Normaliser::getBuffer(const char*& data, unsigned int& len, char* out,
                                   unsigned int room) {
    if (len == 0) return 0;
    Cursor cursor{data, data + len, out, out + room};
    if (htmlMode) {
        if (kernel != nullptr) markupVector(cursor);
        markupScalar(cursor);
    } else {
        if (kernel != nullptr) textVector(cursor);
        textScalar(cursor);
    }
    data = cursor.in;
    len = static_cast<unsigned int>(cursor.left());
    return static_cast<unsigned int>(cursor.out - out);
}

// Both scalar forms work on copies. A char pointer may point anywhere: with the originals the
// compiler would have to assume that each byte written changes them, and read them again.

void Normaliser::textScalar(Cursor& cursor) {
    Cursor local = cursor;
    while (local.in < local.inEnd && local.out < local.outEnd) {
        const char c = *local.in++;
        *local.out = lowered(c);
        local.out += isSpace(c) ? 0 : 1;
    }
    cursor = local;
}

void Normaliser::markupScalar(Cursor& cursor) {
    Cursor local = cursor;
    MarkupState localState = state;
    while (local.in < local.inEnd && local.out < local.outEnd) {
        const char c = *local.in++;
        if (localState.take(c)) *local.out++ = lowered(c);
    }
    cursor = local;
    state = localState;
}

// No more bytes come out than go in, so as many blocks are done at once as both input and room
// have.
void Normaliser::textVector(Cursor& cursor) const {
    while (std::min(cursor.left(), cursor.room()) >= kBlock + kAhead) {
        const size_t blockCount = (std::min(cursor.left(), cursor.room()) - kAhead) / kBlock;
        cursor.out += kernel->dropSpace(cursor.in, blockCount, cursor.out);
        cursor.in += blockCount * kBlock;
    }
    const size_t rest = cursor.left();
    if (rest < kShortest || rest >= 2 * kBlock || rest > cursor.room()) return;
    // White space, which leaves no output, fills the rest up to two blocks.
    std::array<char, 2 * kBlock + kAhead> padded;
    std::array<char, 2 * kBlock + kAhead> written;
    padded.fill(' ');
    std::memcpy(padded.data(), cursor.in, rest);
    const size_t length = kernel->dropSpace(padded.data(), 2, written.data());
    std::memcpy(cursor.out, written.data(), length);
    cursor.out += length;
    cursor.in = cursor.inEnd;
}

// Of markup most bytes are dropped, so more blocks are tried than the room has for sure:
// markupBlocks() finds out which of them fit.
void Normaliser::markupVector(Cursor& cursor) {
    while (cursor.left() >= kBlock + kAhead && cursor.room() >= kShortest) {
        const size_t blockCount =
            std::min({(cursor.left() - kAhead) / kBlock, cursor.room() / kShortest, kMostBlocks});
        if (!markupBlocks(cursor, cursor.in, blockCount, 0)) return;
    }
    // The rest goes through a block of its own, white space before it, its lookahead after it.
    while (cursor.left() >= kShortest && cursor.room() >= kShortest) {
        const size_t length = std::min(cursor.left() - kLookahead, kBlock);
        const size_t padding = kBlock - length;
        std::array<char, kBlock + kAhead> padded;
        padded.fill(' ');
        std::memcpy(padded.data() + padding, cursor.in, length + kLookahead);
        if (!markupBlocks(cursor, padded.data(), 1, padding)) return;
    }
}

/// Normalises blocks of markup. If their output would fill the room up, only the leading blocks
/// whose output leaves some are done: the state then goes back and takes these alone.
/// @param text     the blocks: `padding` bytes of white space, then the bytes at cursor.in
/// @return whether all blocks are done. If not, fewer than kBlock more bytes of output fill the
///         room.
bool Normaliser::markupBlocks(Cursor& cursor, const char* text, size_t blockCount, size_t padding) {
    std::array<BlockMarks, kMostBlocks> marks;
    std::array<uint64_t, kMostBlocks> keep;
    kernel->markBlocks(text, blockCount, marks.data());
    const MarkupState before = state;
    state.keepBlocks(text, marks.data(), blockCount, padding, keep.data());
    size_t fitting = blockCount;
    if ((blockCount + 1) * kBlock < cursor.room()) {
        cursor.out += kernel->writeKept(text, keep.data(), blockCount, cursor.out);
    } else {
        fitting = fittingBlocks(keep.data(), blockCount, cursor.room());
        if (fitting < blockCount) {
            state = before;
            state.keepBlocks(text, marks.data(), fitting, padding, keep.data());
        }
        std::array<char, (kMostBlocks + 1) * kBlock> written;  // room for the kernel's excess
        const size_t length = kernel->writeKept(text, keep.data(), fitting, written.data());
        std::memcpy(cursor.out, written.data(), length);
        cursor.out += length;
    }
    if (fitting != 0) cursor.in += fitting * kBlock - padding;
    return fitting == blockCount;
}

// Passes white space and comment lines. A comment line reaches from "<!--" to the end of the line,
// not to "-->": of "<!-- a --> <b>" and a line end nothing is taken for a tag.
bool Normaliser::checkHeader(const char* data, unsigned int len) {
    constexpr std::string_view kLineEnds = "\r\n";
    const std::string_view text(data, len);
    size_t i = 0;
    while (i < text.size()) {
        if (isSpace(text[i])) {
            ++i;
            continue;
        }
        if (text[i] != '<') return false;
        const std::string_view tag = text.substr(i, htmlCommentStart.size());
        if (tag != htmlCommentStart) {
            // A beginning of "<!--" at the very end of the text may be a comment: no tag.
            return tag.size() == htmlCommentStart.size() || !htmlCommentStart.starts_with(tag);
        }
        const size_t lineEnd = text.find_first_of(kLineEnds, i + htmlCommentStart.size());
        if (lineEnd == std::string_view::npos) return false;
        i = lineEnd + 1;
    }
    return false;
}

void Normaliser::restart() {
    state = {};
}

}  // namespace STREAMENGINE_SPACE
