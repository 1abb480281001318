#include "scan/MarkupFilter.h"

#include <algorithm>
#include <string>

#include "interface/zvkengine.h"

namespace STREAMENGINE_SPACE {
namespace {

struct FilterTag {
    std::string_view opening, closing;
    uint8_t modeMask;  // the modes that filter it
};

constexpr std::array<FilterTag, 7> filterDelTag = {{
    {"<XXXX", "</XXXX", 0},  // no tag: bytes are lowered before they are compared with a name
    {"<applet", "</applet", ZVK_FILTER_OBJECTS},
    {"<embed", "</embed", ZVK_FILTER_OBJECTS},
    {"<plugin", "</plugin", ZVK_FILTER_OBJECTS},
    {"<object", "</object", ZVK_FILTER_OBJECTS},
    {"<script", "</script", ZVK_FILTER_SCRIPTS},
    {"<noscript", "</noscript", ZVK_FILTER_SCRIPTS},
}};

// A name's first letter, in either case, selects its tag; no two names share one.
constexpr auto quickFilterDelTag = [] {
    std::array<uint8_t, 256> tags{};
    for (uint8_t tag = 1; tag < filterDelTag.size(); ++tag) {
        const auto letter = static_cast<unsigned char>(filterDelTag[tag].opening[1]);
        tags[letter] = tag;
        tags[letter - 0x20U] = tag;
    }
    return tags;
}();

/// @return the tag that a name with this first letter may be in this mode, or 0
uint8_t candidate(char letter, uint8_t mode) {
    const uint8_t tag = quickFilterDelTag[static_cast<unsigned char>(letter)];
    return (filterDelTag[tag].modeMask & mode) != 0 ? tag : 0;
}

constexpr char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 0x20) : c;
}

constexpr bool endsName(char c) {
    return c == '>' || c == '/' || c == ' ' || (c >= '\t' && c <= '\r');
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
        blank(out, count);
    }
    return count;
}

void MarkupFilter::passText(Walk& walk, uint8_t mode) {
    const char* at = walk.at;
    while ((at = find(at, walk.end, '<')) != walk.end) {
        if (++at == walk.end || candidate(*at, mode) != 0) {
            pendingCount = 1;
            filterState = State::OpeningName;
            break;
        }
        ++at;  // also a "<": the byte that shows a name to be another one is text
    }
    walk.at = at;
}

void MarkupFilter::passOpeningName(Walk& walk, uint8_t mode) {
    if (pendingCount == 1) filterTag = candidate(*walk.at, mode);
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
        walk.at = std::find_if(walk.at, walk.end, isOfNote);
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
        if (lower(c) != text[pendingCount]) return Match::Other;
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
