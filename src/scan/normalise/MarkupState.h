// MarkupState: decides which bytes of a stream of markup are kept.
//
// Kept are tags and script text; a declaration or comment is reduced to "<!>" and an anchor tag to
// "<a>". take() is the scalar form, a state machine that takes one byte after the other.
// keepBlocks() gives the same answers for whole blocks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "scan/normalise/NormaliseKernel.h"
#include "support/Ascii.h"

namespace STREAMENGINE_SPACE {

constexpr std::string_view scriptstart = "<script";
constexpr std::string_view scriptend = "</script";
constexpr std::string_view htmlCommentStart = "<!--";
constexpr std::string_view htmlCommentEnd = "-->";

class MarkupState {
  public:
    enum class HtmlState : int32_t { Text, Tag, Script, Declaration, Comment };

    /// Takes the stream's next byte.
    /// @return whether it is kept; white space never is
    bool take(char c);

    /// Takes whole blocks.
    /// @param text     the blocks, followed by two more bytes of the stream
    /// @param marks    the kernel's
    /// @param padding  how many bytes of white space that are not the stream's fill the first block
    /// @param keep     set to a bit for each byte that is kept
    void keepBlocks(const char* text, const BlockMarks* marks, size_t blockCount, size_t padding,
                    uint64_t* keep);

  private:
    bool takeText(char c);
    bool takeTag(char c);
    bool takeScript(char c);
    bool takeDeclaration(char c);
    bool takeComment(char c);

    size_t keepTags(const BlockMarks* marks, size_t blockCount, uint64_t* keep);
    uint64_t keepBytes(const char* text, size_t count);
    uint64_t keepBlock(const char* text, const BlockMarks& marks, size_t padding);

    size_t nextMatch(const BlockMarks& marks, size_t i) const;
    bool isInText() const { return htmlState == HtmlState::Text; }
    bool isInDeclaration() const { return htmlState == HtmlState::Declaration; }
    bool isInScript() const { return htmlState == HtmlState::Script; }
    bool isInComment() const { return htmlState == HtmlState::Comment; }
    bool onlyTagsMatter() const { return !isInScript() && !isInComment(); }
    bool isBetweenMatches() const { return tagMatch == 0 && commentMatch == 0; }

    static char charAt(std::string_view text, int8_t position) {
        return text[static_cast<size_t>(position)];
    }

    HtmlState htmlState = HtmlState::Text;
    int8_t tagMatch = 0;      // characters of "<script" (in Tag) or "</script" (in Script) matched
    int8_t commentMatch = 0;  // position in "<!--" (in Declaration) or "-->" (in Comment)
};

inline bool MarkupState::take(char c) {
    switch (htmlState) {
        case HtmlState::Text:
            return takeText(c);
        case HtmlState::Tag:
            return takeTag(c);
        case HtmlState::Script:
            return takeScript(c);
        case HtmlState::Declaration:
            return takeDeclaration(c);
        case HtmlState::Comment:
            return takeComment(c);
    }
    return false;
}

inline bool MarkupState::takeText(char c) {
    if (c != '<') return false;
    htmlState = HtmlState::Tag;
    tagMatch = 1;
    return true;
}

inline bool MarkupState::takeTag(char c) {
    constexpr int8_t kAll = scriptstart.size();
    if (c == '>') {
        htmlState = tagMatch == kAll ? HtmlState::Script : HtmlState::Text;
        tagMatch = 0;
        return true;
    }
    if (QLT_SPACE::isSpace(c)) {
        // The attributes of a script tag count as script text.
        if (tagMatch == kAll) htmlState = HtmlState::Script;
        tagMatch = 0;
        return false;
    }
    const char small = QLT_SPACE::lowered(c);
    if (tagMatch == 1 && (small == '!' || small == 'a')) {
        htmlState = HtmlState::Declaration;
        tagMatch = 0;
        commentMatch = 2;
    } else if (tagMatch >= 1 && tagMatch < kAll && small == charAt(scriptstart, tagMatch)) {
        ++tagMatch;
    } else {
        tagMatch = 0;  // also a "<" inside a tag: it does not start the match anew
    }
    return true;
}

inline bool MarkupState::takeScript(char c) {
    constexpr int8_t kAll = scriptend.size();
    if (QLT_SPACE::isSpace(c)) {
        if (tagMatch == kAll) htmlState = HtmlState::Tag;
        tagMatch = 0;
        return false;
    }
    const char small = QLT_SPACE::lowered(c);
    if (tagMatch >= 1 && tagMatch < kAll && small == charAt(scriptend, tagMatch)) {
        ++tagMatch;
    } else {
        if (tagMatch == kAll && c == '>') htmlState = HtmlState::Text;
        tagMatch = 0;
    }
    if (small == '<') tagMatch = 1;
    return true;
}

inline bool MarkupState::takeDeclaration(char c) {
    if (c == '>') {
        htmlState = HtmlState::Text;
        commentMatch = 0;
        return true;
    }
    if (commentMatch > 1 && c == charAt(htmlCommentStart, commentMatch)) {
        ++commentMatch;
        if (commentMatch == htmlCommentStart.size()) {
            htmlState = HtmlState::Comment;
            commentMatch = 0;
        }
    } else {
        commentMatch = 0;  // only the two bytes right after "<!" or "<a" can open a comment
    }
    return false;
}

inline bool MarkupState::takeComment(char c) {
    if (c == charAt(htmlCommentEnd, commentMatch)) {
        ++commentMatch;
        if (commentMatch == htmlCommentEnd.size()) {
            htmlState = HtmlState::Text;
            commentMatch = 0;
            return true;
        }
    } else if (commentMatch != 2 || c != '-') {  // more than two dashes may precede the ">"
        commentMatch = 0;
    }
    return false;
}

}  // namespace STREAMENGINE_SPACE
