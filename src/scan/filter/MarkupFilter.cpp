#include "scan/filter/MarkupFilter.h"

#include <algorithm>
#include <string>

#include "scan/filter/FilterTag.h"
#include "support/Ascii.h"

namespace STREAMENGINE_SPACE {
namespace {

using QLT_SPACE::isSpace;
using QLT_SPACE::lowered;

constexpr bool endsName(char c) {
    return c == '>' || c == '/' || isSpace(c);
}

constexpr bool isOfNote(char c) {
    return c == '>' || c == '"' || c == '\'';
}

/// @return where a byte is found first in [from, end), or end
const char* find(const char* from, const char* end, char byte) {
    const char* found = std::char_traits<char>::find(from, static_cast<size_t>(end - from), byte);
    return found != nullptr ? found : end;
}

}  // namespace

uint32_t MarkupFilter::getBufferFilter(const char* in, uint32_t len, char* out, uint8_t mode) {
    Walk walk{in, in, in + len, out, pendingCount};
    while (walk.at < walk.end) {
        switch (filterState) {
            case State::Text:
                passText(walk, mode);
                break;
            case State::OpeningName:
                passOpeningName(walk, mode);
                break;
            case State::Attributes:
                passAttributes(walk);
                break;
            case State::Content:
                passContent(walk);
                break;
            case State::ClosingTag:
                passClosingTag(walk);
                break;
        }
    }
    const char* const heldBack = walk.end - (pendingCount - walk.held);
    writeRun(walk, heldBack);
    std::copy(heldBack, walk.end, pendingTag.data() + walk.held);
    return static_cast<uint32_t>(walk.out - out);
}

uint32_t MarkupFilter::getTagBufferFilter(char* out) {
    const uint32_t count = pendingCount;
    if (filterState == State::OpeningName) {
        std::copy_n(pendingTag.data(), count, out);
        pendingCount = 0;
        filterState = State::Text;
    } else {
        blank(out, count);  // and held still: a stream that is ended twice gets them twice
    }
    return count;
}

void MarkupFilter::passText(Walk& walk, uint8_t mode) {
    walk.at = findOpening(walk.at, walk.end, mode);
    if (walk.at == walk.end) return;
    ++walk.at;
    pendingCount = 1;
    filterState = State::OpeningName;
}

void MarkupFilter::passOpeningName(Walk& walk, uint8_t mode) {
    if (pendingCount == 1) filterTag = candidateTag(*walk.at, mode);
    const Match match = matchTag(walk, filterDelTag[filterTag].opening);
    if (match == Match::Undecided) return;
    if (match == Match::Whole) {
        const char last = walk.at[-1];
        copyRun(walk, walk.at - 1 - (pendingCount - walk.held));
        blank(walk.out, walk.held);
        quoteChar = '\0';
        slashSeen = last == '/';
        filterState = last == '>' ? State::Content : State::Attributes;
    } else {
        walk.out = std::copy_n(pendingTag.data(), walk.held, walk.out);
        filterState = State::Text;
    }
    pendingCount = 0;
    walk.held = 0;
}

void MarkupFilter::passAttributes(Walk& walk) {
    const char* const start = walk.at;
    while (walk.at < walk.end) {
        if (quoteChar != '\0') {
            walk.at = find(walk.at, walk.end, quoteChar);
            if (walk.at == walk.end) return;
            ++walk.at;
            quoteChar = '\0';
            continue;
        }
        walk.at = std::find_if(walk.at, walk.end, isOfNote);  // byte by byte, but tags are short
        if (walk.at != start) slashSeen = walk.at[-1] == '/';
        if (walk.at == walk.end) return;
        const char c = *walk.at++;
        const bool closesItself = slashSeen;
        slashSeen = false;
        if (c == '>') {
            if (closesItself) blankRun(walk, walk.at);
            filterState = closesItself ? State::Text : State::Content;
            return;
        }
        quoteChar = c;
    }
}

void MarkupFilter::passContent(Walk& walk) {
    if (pendingCount == 0) walk.at = find(walk.at, walk.end, '<');
    const Match match = matchTag(walk, filterDelTag[filterTag].closing);
    if (match == Match::Undecided) return;
    blank(walk.out, walk.held);
    pendingCount = 0;
    walk.held = 0;
    if (match == Match::Other) return;
    --walk.at;  // the closing tag may end with the byte that ended its name
    filterState = State::ClosingTag;
}

void MarkupFilter::passClosingTag(Walk& walk) {
    walk.at = find(walk.at, walk.end, '>');
    if (walk.at == walk.end) return;
    blankRun(walk, ++walk.at);
    filterState = State::Text;
}

MarkupFilter::Match MarkupFilter::matchTag(Walk& walk, std::string_view text) {
    while (walk.at < walk.end) {
        const char c = *walk.at++;
        if (pendingCount == text.size()) return endsName(c) ? Match::Whole : Match::Other;
        if (lowered(c) != text[pendingCount]) return Match::Other;
        ++pendingCount;
    }
    return Match::Undecided;
}

void MarkupFilter::writeRun(Walk& walk, const char* to) {
    const bool isKept = filterState == State::Text || filterState == State::OpeningName;
    isKept ? copyRun(walk, to) : blankRun(walk, to);
}

void MarkupFilter::copyRun(Walk& walk, const char* to) {
    walk.out = std::copy(walk.run, to, walk.out);
    walk.run = to;
}

void MarkupFilter::blankRun(Walk& walk, const char* to) {
    blank(walk.out, static_cast<uint32_t>(to - walk.run));
    walk.run = to;
}

void MarkupFilter::blank(char*& out, uint32_t count) {
    if (count == 0) return;
    out = std::fill_n(out, count, ' ');
    filterChanged = true;
}

}  // namespace STREAMENGINE_SPACE
