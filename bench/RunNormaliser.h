// RunNormaliser: the engine's normalised form, made by another road for the peers.
//
// What is dropped is skipped with memchr(), what is kept goes through a table run by run; only the
// few bytes at which an element or a comment may begin or end are looked at one by one. The
// engine's own output is compared with it before anything is timed, see EngineHost.
#pragma once

#include <cstdint>
#include <string_view>

class RunNormaliser {
  public:
    /// Back to the start of a stream.
    /// @param header  its first 256 bytes, or all if there are fewer: they decide the mode
    void begin(std::string_view header);

    /// @param out  room for as many bytes as the chunk has
    /// @return the bytes written
    size_t feed(std::string_view chunk, char* out);

  private:
    enum class State : uint8_t { Plain, Text, Tag, Script, Declaration, Comment };

    void takeText();
    void takeTag();
    void takeScript();
    void takeDeclaration();
    void takeComment();
    void keepRun(const char* end);
    void skipRun(const char* end);
    const char* find(char c) const;

    State state = State::Plain;
    size_t matched = 0;  // bytes of the word that the state looks for
    const char* in = nullptr;
    const char* inEnd = nullptr;
    char* written = nullptr;
};
