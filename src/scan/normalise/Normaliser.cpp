#include "scan/normalise/Normaliser.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <string_view>

#include "support/Ascii.h"

namespace STREAMENGINE_SPACE {
namespace {

using QLT_SPACE::isSpace;
using QLT_SPACE::lowered;

constexpr size_t kBlock = NormaliseKernel::kBlock;
constexpr size_t kAhead = NormaliseKernel::kAhead;
constexpr size_t kLookedAt = 2;  // bytes behind a "<" that its marks look at
constexpr size_t kLeast = 16;    // for less input or room blocks do not pay
constexpr size_t kPieceBlocks = 32;

/// @return how many of the blocks leave some room: what fills it up has to be the last byte taken
size_t fittingBlocks(const uint64_t* keep, size_t blockCount, size_t room) {
    size_t length = 0;
    for (size_t i = 0; i < blockCount; ++i) {
        length += static_cast<size_t>(std::popcount(keep[i]));
        if (length >= room) return i;
    }
    return blockCount;
}

}  // namespace

struct Normaliser::Run {
    const char* in;
    const char* end;
    char* out;
    char* outEnd;

    size_t left() const { return static_cast<size_t>(end - in); }
    size_t room() const { return static_cast<size_t>(outEnd - out); }
};

unsigned int Normaliser::getBuffer(const char*& data, unsigned int& len, char* out,
                                   unsigned int room) {
    if (len == 0) return 0;
    Run run{data, data + len, out, out + room};
    if (htmlMode) {
        if (strip != nullptr) markupVector(run);
        markupScalar(run);
    } else {
        if (strip != nullptr) textVector(run);
        textScalar(run);
    }
    data = run.in;
    len = static_cast<unsigned int>(run.left());
    return static_cast<unsigned int>(run.out - out);
}

// Both plain forms work on copies: for all the compiler knows, what is written could be the
// originals.

void Normaliser::textScalar(Run& run) {
    Run local = run;
    while (local.in < local.end && local.out < local.outEnd) {
        const char c = *local.in++;
        *local.out = lowered(c);
        local.out += isSpace(c) ? 0 : 1;
    }
    run = local;
}

void Normaliser::markupScalar(Run& run) {
    Run local = run;
    MarkupState localState = state;
    while (local.in < local.end && local.out < local.outEnd) {
        const char c = *local.in++;
        if (localState.take(c)) *local.out++ = lowered(c);
    }
    run = local;
    state = localState;
}

void Normaliser::textVector(Run& run) const {
    while (std::min(run.left(), run.room()) >= kBlock + kAhead) {
        const size_t blockCount = (std::min(run.left(), run.room()) - kAhead) / kBlock;
        run.out += strip->stripSpace(run.in, blockCount, run.out);
        run.in += blockCount * kBlock;
    }
    if (run.left() < kLeast || run.left() >= 2 * kBlock || run.left() > run.room()) return;
    // White space fills the tail up.
    std::array<char, 2 * kBlock + kAhead> tail;
    std::array<char, 2 * kBlock + kAhead> stripped;
    tail.fill(' ');
    std::memcpy(tail.data(), run.in, run.left());
    const size_t length = strip->stripSpace(tail.data(), 2, stripped.data());
    std::memcpy(run.out, stripped.data(), length);
    run.out += length;
    run.in = run.end;
}

void Normaliser::markupVector(Run& run) {
    while (run.left() >= kBlock + kAhead && run.room() >= kLeast) {
        const size_t blockCount =
            std::min({(run.left() - kAhead) / kBlock, run.room() / kLeast, kPieceBlocks});
        if (!stripPiece(run, run.in, blockCount, 0)) return;
    }
    // The tail ends with a block of its own, behind white space, and what that block looks ahead.
    while (run.left() >= kLeast && run.room() >= kLeast) {
        const size_t length = std::min(run.left() - kLookedAt, kBlock);
        const size_t padding = kBlock - length;
        std::array<char, kBlock + kAhead> tail;
        tail.fill(' ');
        std::memcpy(tail.data() + padding, run.in, length + kLookedAt);
        if (!stripPiece(run, tail.data(), 1, padding)) return;
    }
}

/// @param text  the blocks, the bytes at run.in behind padding of white space
/// @return whether some room is left behind the piece; else only the blocks that leave some are
///         done, and fewer than kBlock bytes in front of where the room ends
bool Normaliser::stripPiece(Run& run, const char* text, size_t blockCount, size_t padding) {
    std::array<BlockMarks, kPieceBlocks> marks;
    std::array<uint64_t, kPieceBlocks> keep;
    strip->mark(text, blockCount, marks.data());
    const MarkupState before = state;
    state.keepBlocks(text, marks.data(), blockCount, padding, keep.data());
    size_t fitting = blockCount;
    if ((blockCount + 1) * kBlock < run.room()) {
        run.out += strip->writeKept(text, keep.data(), blockCount, run.out);
    } else {
        fitting = fittingBlocks(keep.data(), blockCount, run.room());
        if (fitting < blockCount) {
            state = before;
            state.keepBlocks(text, marks.data(), fitting, padding, keep.data());
        }
        std::array<char, (kPieceBlocks + 1) * kBlock> written;
        const size_t length = strip->writeKept(text, keep.data(), fitting, written.data());
        std::memcpy(run.out, written.data(), length);
        run.out += length;
    }
    if (fitting != 0) run.in += fitting * kBlock - padding;
    return fitting == blockCount;
}

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
            // At the text's very end the beginning of a comment is not taken for a tag.
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
