// Normaliser: from raw bytes to the form that signatures are matched against.
//
// A-Z is lowered and white space (0x09 to 0x0D and 0x20) dropped. In markup mode only tags and
// script text are kept: text between tags goes, a declaration or comment is reduced to "<!>" and
// an anchor tag to "<a>". The state carries over from call to call, so that a tag may straddle
// chunks; at most one byte comes out for each that goes in.
#pragma once

#include <cstdint>

namespace STREAMENGINE_SPACE {

class Normaliser {
  public:
    enum class HtmlState : int32_t { Text, Tag, Script, Declaration, Comment };

    /// Normalises input into out until the input is used up or `room` bytes are written.
    /// @param data  advanced by the bytes consumed
    /// @param len   lowered by the bytes consumed; 0 consumes nothing
    /// @param out   room for `room` bytes, at least 1
    /// @return the bytes written
    unsigned int getBuffer(const char*& data, unsigned int& len, char* out, unsigned int room);

    /// @return whether raw text opens with markup: its first byte behind white space and whole
    ///         comment lines is the "<" of a tag
    static bool checkHeader(const char* data, unsigned int len);

    /// Back to the state at the start of a stream; the mode stays.
    void restart();

    bool htmlMode = false;  // markup mode

  private:
    unsigned int stripPlain(const char*& data, unsigned int& len, char* out, unsigned int room);
    unsigned int stripMarkup(const char*& data, unsigned int& len, char* out, unsigned int room);

    // Each takes one byte in its state and returns whether it is to be written.
    bool takeText(char c);
    bool takeTag(char c);
    bool takeScript(char c);
    bool takeDeclaration(char c);
    bool takeComment(char c);

    HtmlState htmlState = HtmlState::Text;
    int8_t tagMatch = 0;      // characters of "<script" (in Tag) or "</script" (in Script) matched
    int8_t commentMatch = 0;  // position in "<!--" (in Declaration) or "-->" (in Comment)
};

}  // namespace STREAMENGINE_SPACE
