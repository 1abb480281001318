#include "RunNormaliser.h"

#include <array>
#include <string>

#include "TextBlocks.h"

namespace {

constexpr std::string_view kSpaces = "\t\n\v\f\r ";
constexpr std::string_view kOpening = "<script", kClosing = "</script";

struct Entry {
    char lowered;
    bool isKept;
};

constexpr std::array<Entry, 256> makeTable() {
    std::array<Entry, 256> table{};
    for (size_t c = 0; c < table.size(); ++c) {
        const bool isUpper = c >= 'A' && c <= 'Z';
        table[c] = {static_cast<char>(isUpper ? c + 0x20 : c), true};
    }
    for (const char c : kSpaces) table[static_cast<unsigned char>(c)].isKept = false;
    return table;
}
constexpr std::array<Entry, 256> kTable = makeTable();

const Entry& entryOf(char c) {
    return kTable[static_cast<unsigned char>(c)];
}

/// @return whether a tag with this byte after its '<' may be a script, a declaration or an anchor
bool isSpecialTag(char second) {
    const char c = entryOf(second).lowered;
    return c == 's' || c == '!' || c == 'a';
}

/// @return whether a tag opens the text, after white space and comments that fill a line
bool opensWithTag(std::string_view text) {
    while (true) {
        const size_t first = text.find_first_not_of(kSpaces);
        if (first == text.npos || text[first] != '<') return false;
        text.remove_prefix(first);
        if (!text.starts_with("<!--")) return !std::string_view("<!--").starts_with(text);
        const size_t lineEnd = text.find_first_of("\r\n", 4);
        if (lineEnd == text.npos) return false;
        text.remove_prefix(lineEnd + 1);
    }
}

}  // namespace

void RunNormaliser::begin(std::string_view header) {
    state = opensWithTag(header) ? State::Text : State::Plain;
    matched = 0;
}

size_t RunNormaliser::feed(std::string_view chunk, char* out) {
    in = chunk.data();
    inEnd = in + chunk.size();
    written = out;
    while (in != inEnd) {
        switch (state) {
            case State::Plain:
                keepThrough('\0');
                break;
            case State::Text:
                takeText();
                break;
            case State::Tag:
                takeTag();
                break;
            case State::Script:
                takeScript();
                break;
            case State::Declaration:
                takeDeclaration();
                break;
            case State::Comment:
                takeComment();
                break;
        }
    }
    return static_cast<size_t>(written - out);
}

void RunNormaliser::takeText() {
    skipRun(findByte(in, inEnd, '<'));
    if (in == inEnd) return;
    keepRun(in + 1);
    state = State::Tag;
    matched = 1;
}

void RunNormaliser::takeTag() {
    // The second byte of most tags shows that they are no script, declaration or anchor.
    if (matched == 1 && !isSpecialTag(*in)) matched = 0;
    if (matched == 0) {
        if (keepThrough('>')) state = State::Text;
        return;
    }
    const auto [c, isKept] = entryOf(*in);
    const bool isScript = matched == kOpening.size();
    keepRun(in + 1);
    if (c == '>' || (!isKept && isScript)) {
        state = isScript ? State::Script : State::Text;
        matched = 0;
    } else if (matched == 1 && (c == '!' || c == 'a')) {
        state = State::Declaration;
        matched = 2;
    } else {
        matched = matched != 0 && !isScript && c == kOpening[matched] ? matched + 1 : 0;
    }
}

void RunNormaliser::takeScript() {
    if (matched == 0) {
        if (keepThrough('<')) matched = 1;
        return;
    }
    const auto [c, isKept] = entryOf(*in);
    const bool isClosing = matched == kClosing.size();
    keepRun(in + 1);
    if (isClosing && (c == '>' || !isKept)) {
        state = c == '>' ? State::Text : State::Tag;
        matched = 0;
    } else if (c == '<') {
        matched = 1;
    } else {
        matched = matched != 0 && !isClosing && c == kClosing[matched] ? matched + 1 : 0;
    }
}

void RunNormaliser::takeDeclaration() {
    if (matched == 0) skipRun(findByte(in, inEnd, '>'));
    if (in == inEnd) return;
    const char c = *in;
    if (c == '>') {
        keepRun(in + 1);
        state = State::Text;
        matched = 0;
        return;
    }
    skipRun(in + 1);
    matched = matched != 0 && c == '-' ? matched + 1 : 0;
    if (matched == 4) {
        state = State::Comment;
        matched = 0;
    }
}

void RunNormaliser::takeComment() {
    if (matched == 0) skipRun(findByte(in, inEnd, '-'));
    if (in == inEnd) return;
    const char c = *in;
    if (c == '>' && matched == 2) {
        keepRun(in + 1);
        state = State::Text;
        matched = 0;
        return;
    }
    skipRun(in + 1);
    matched = c != '-' ? 0 : matched == 2 ? 2 : matched + 1;
}

bool RunNormaliser::keepThrough(char stop) {
    if (keepBlocks(in, inEnd, stop, written)) return true;
    keepRun(findByte(in, inEnd, stop));
    if (in == inEnd) return false;
    keepRun(in + 1);
    return true;
}

void RunNormaliser::keepRun(const char* end) {
    char* out = written;
    for (const char* p = in; p != end; ++p) {
        const Entry& entry = entryOf(*p);
        *out = entry.lowered;
        out += entry.isKept ? 1 : 0;
    }
    written = out;
    in = end;
}

void RunNormaliser::skipRun(const char* end) {
    in = end;
}
