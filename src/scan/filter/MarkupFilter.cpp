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

constexpr bool isQuoteOrEnd(char c) {
    return c == '>' || c == '"' || c == '\'';
}

/// @return where a byte is found first in [from, end), or end
const char* find(const char* from, const char* end, char byte) {
    const char* found = std::char_traits<char>::find(from, static_cast<size_t>(end - from), byte);
    return found != nullptr ? found : end;
}

}  // namespace

// A state machine of five states that does not go byte by byte: each state has a byte, or a few,
// that end it, and the search for that byte passes all others at the speed of memory. In text this
// is the search for tags that may open, in the content of an element that for "<", in a closing tag
// that for ">". Names are the exception; they are compared letter by letter, as a chunk may end
// within one.
uint32_t MarkupFilter::getBufferFilter(const char* in, uint32_t len, char* out, uint8_t mode) {
    Cursor cursor{in, in, in + len, out, pendingCount};
    while (cursor.next < cursor.end) {
        switch (filterState) {
            case State::Text:
                passText(cursor, mode);
                break;
            case State::OpeningName:
                passOpeningName(cursor, mode);
                break;
            case State::Attributes:
                passAttributes(cursor);
                break;
            case State::Content:
                passContent(cursor);
                break;
            case State::ClosingTag:
                passClosingTag(cursor);
                break;
        }
    }
    // Of the bytes recognised of a name, the last ones are this chunk's: they are held back.
    const char* const heldBack = cursor.end - (pendingCount - cursor.held);
    writeUpTo(cursor, heldBack);
    std::copy(heldBack, cursor.end, pendingTag.data() + cursor.held);
    return static_cast<uint32_t>(cursor.out - out);
}

uint32_t MarkupFilter::getTagBufferFilter(char* out) {
    const uint32_t count = pendingCount;
    if (isInOpeningName()) {
        std::copy_n(pendingTag.data(), count, out);
        pendingCount = 0;
        filterState = State::Text;
    } else {
        blank(out, count);  // and still held: a stream that is ended twice gets them twice
    }
    return count;
}

void MarkupFilter::passText(Cursor& cursor, uint8_t mode) {
    cursor.next = findOpening(cursor.next, cursor.end, mode);
    if (cursor.next == cursor.end) return;
    ++cursor.next;
    pendingCount = 1;
    filterState = State::OpeningName;
}

void MarkupFilter::passOpeningName(Cursor& cursor, uint8_t mode) {
    if (pendingCount == 1) filterTag = candidateTag(*cursor.next, mode);
    const Match match = matchTag(cursor, filterDelTag[filterTag].opening);
    if (match == Match::Undecided) return;
    if (match == Match::Whole) {
        // What precedes the tag is text. Of the tag, the bytes that earlier chunks left are written
        // now; those of this chunk stay unwritten until it is known how far the tag goes.
        const char last = cursor.next[-1];
        copyUpTo(cursor, cursor.next - 1 - (pendingCount - cursor.held));
        blank(cursor.out, cursor.held);
        quoteChar = '\0';
        slashSeen = last == '/';
        filterState = last == '>' ? State::Content : State::Attributes;
    } else {
        cursor.out = std::copy_n(pendingTag.data(), cursor.held, cursor.out);
        filterState = State::Text;
    }
    pendingCount = 0;
    cursor.held = 0;
}

void MarkupFilter::passAttributes(Cursor& cursor) {
    const char* const start = cursor.next;
    while (cursor.next < cursor.end) {
        if (quoteChar != '\0') {
            cursor.next = find(cursor.next, cursor.end, quoteChar);
            if (cursor.next == cursor.end) return;
            ++cursor.next;
            quoteChar = '\0';
            continue;
        }
        // Byte by byte: tags are short.
        cursor.next = std::find_if(cursor.next, cursor.end, isQuoteOrEnd);
        if (cursor.next != start) slashSeen = cursor.next[-1] == '/';
        if (cursor.next == cursor.end) return;
        const char c = *cursor.next++;
        const bool closesItself = slashSeen;
        slashSeen = false;
        if (c == '>') {
            if (closesItself) blankUpTo(cursor, cursor.next);
            filterState = closesItself ? State::Text : State::Content;
            return;
        }
        quoteChar = c;
    }
}

void MarkupFilter::passContent(Cursor& cursor) {
    // The byte that shows that a tag is another one is read with it, also if it is a "<": in
    // "</scr</script>" nothing closes the element.
    if (pendingCount == 0) cursor.next = find(cursor.next, cursor.end, '<');
    const Match match = matchTag(cursor, filterDelTag[filterTag].closing);
    if (match == Match::Undecided) return;
    blank(cursor.out, cursor.held);
    pendingCount = 0;
    cursor.held = 0;
    if (match == Match::Other) return;
    --cursor.next;  // the closing tag may end with the byte that ended its name
    filterState = State::ClosingTag;
}

void MarkupFilter::passClosingTag(Cursor& cursor) {
    cursor.next = find(cursor.next, cursor.end, '>');
    if (cursor.next == cursor.end) return;
    blankUpTo(cursor, ++cursor.next);
    filterState = State::Text;
}

MarkupFilter::Match MarkupFilter::matchTag(Cursor& cursor, std::string_view text) {
    while (cursor.next < cursor.end) {
        const char c = *cursor.next++;
        if (pendingCount == text.size()) return endsName(c) ? Match::Whole : Match::Other;
        if (lowered(c) != text[pendingCount]) return Match::Other;
        ++pendingCount;
    }
    return Match::Undecided;
}

void MarkupFilter::writeUpTo(Cursor& cursor, const char* to) {
    isCopying() ? copyUpTo(cursor, to) : blankUpTo(cursor, to);
}

void MarkupFilter::copyUpTo(Cursor& cursor, const char* to) {
    cursor.out = std::copy(cursor.unwritten, to, cursor.out);
    cursor.unwritten = to;
}

void MarkupFilter::blankUpTo(Cursor& cursor, const char* to) {
    blank(cursor.out, static_cast<uint32_t>(to - cursor.unwritten));
    cursor.unwritten = to;
}

void MarkupFilter::blank(char*& out, uint32_t count) {
    if (count == 0) return;
    out = std::fill_n(out, count, ' ');
    filterChanged = true;
}

}  // namespace STREAMENGINE_SPACE
