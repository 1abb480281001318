#include "scan/Normaliser.h"

#include <array>
#include <string_view>

#include "support/Ascii.h"

namespace STREAMENGINE_SPACE {
namespace {

using QLT_SPACE::isSpace;
using QLT_SPACE::lowered;

constexpr std::string_view scriptstart = "<script";
constexpr std::string_view scriptend = "</script";
constexpr std::string_view htmlCommentStart = "<!--";
constexpr std::string_view htmlCommentEnd = "-->";

char at(std::string_view text, int8_t position) {
    return text[static_cast<size_t>(position)];
}

}  // namespace

unsigned int Normaliser::getBuffer(const char*& data, unsigned int& len, char* out,
                                   unsigned int room) {
    if (len == 0) return 0;
    return htmlMode ? stripMarkup(data, len, out, room) : stripPlain(data, len, out, room);
}

unsigned int Normaliser::stripPlain(const char*& data, unsigned int& len, char* out,
                                    unsigned int room) {
    const char* const end = data + len;
    const char* in = data;
    unsigned int written = 0;
    do {
        const char c = *in++;
        out[written] = lowered(c);
        written += isSpace(c) ? 0 : 1;
    } while (in < end && written < room);
    data = in;
    len = static_cast<unsigned int>(end - in);
    return written;
}

unsigned int Normaliser::stripMarkup(const char*& data, unsigned int& len, char* out,
                                     unsigned int room) {
    const char* const end = data + len;
    const char* in = data;
    unsigned int written = 0;
    do {
        const char c = *in++;
        bool isKept = false;
        switch (htmlState) {
            case HtmlState::Text:
                isKept = takeText(c);
                break;
            case HtmlState::Tag:
                isKept = takeTag(c);
                break;
            case HtmlState::Script:
                isKept = takeScript(c);
                break;
            case HtmlState::Declaration:
                isKept = takeDeclaration(c);
                break;
            case HtmlState::Comment:
                isKept = takeComment(c);
                break;
        }
        if (isKept) out[written++] = lowered(c);
    } while (in < end && written < room);
    data = in;
    len = static_cast<unsigned int>(end - in);
    return written;
}

bool Normaliser::takeText(char c) {
    if (c != '<') return false;
    htmlState = HtmlState::Tag;
    tagMatch = 1;
    return true;
}

bool Normaliser::takeTag(char c) {
    constexpr int8_t kAll = scriptstart.size();
    if (c == '>') {
        htmlState = tagMatch == kAll ? HtmlState::Script : HtmlState::Text;
        tagMatch = 0;
        return true;
    }
    if (isSpace(c)) {
        // The attributes of a script tag count as script text.
        if (tagMatch == kAll) htmlState = HtmlState::Script;
        tagMatch = 0;
        return false;
    }
    const char small = lowered(c);
    if (tagMatch == 1 && (small == '!' || small == 'a')) {
        htmlState = HtmlState::Declaration;
        tagMatch = 0;
        commentMatch = 2;
    } else if (tagMatch >= 1 && tagMatch < kAll && small == at(scriptstart, tagMatch)) {
        ++tagMatch;
    } else {
        tagMatch = 0;  // also a "<" inside a tag: it does not start the match anew
    }
    return true;
}

bool Normaliser::takeScript(char c) {
    constexpr int8_t kAll = scriptend.size();
    if (isSpace(c)) {
        if (tagMatch == kAll) htmlState = HtmlState::Tag;
        tagMatch = 0;
        return false;
    }
    const char small = lowered(c);
    if (tagMatch >= 1 && tagMatch < kAll && small == at(scriptend, tagMatch)) {
        ++tagMatch;
    } else {
        if (tagMatch == kAll && c == '>') htmlState = HtmlState::Text;
        tagMatch = 0;
    }
    if (small == '<') tagMatch = 1;
    return true;
}

bool Normaliser::takeDeclaration(char c) {
    if (c == '>') {
        htmlState = HtmlState::Text;
        commentMatch = 0;
        return true;
    }
    if (commentMatch > 1 && c == at(htmlCommentStart, commentMatch)) {
        ++commentMatch;
        if (commentMatch == htmlCommentStart.size()) {
            htmlState = HtmlState::Comment;
            commentMatch = 0;
        }
    } else {
        commentMatch = 0;  // only the two bytes right behind "<!" or "<a" can open a comment
    }
    return false;
}

bool Normaliser::takeComment(char c) {
    if (c == at(htmlCommentEnd, commentMatch)) {
        ++commentMatch;
        if (commentMatch == htmlCommentEnd.size()) {
            htmlState = HtmlState::Text;
            commentMatch = 0;
            return true;
        }
    } else if (commentMatch != 2 || c != '-') {  // a run of dashes may stand before the ">"
        commentMatch = 0;
    }
    return false;
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
    htmlState = HtmlState::Text;
    tagMatch = 0;
    commentMatch = 0;
}

}  // namespace STREAMENGINE_SPACE
