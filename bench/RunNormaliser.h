// RunNormaliser: the engine's normalised form, made for the peer by other code.
//
// It works in runs. A run of bytes to drop is skipped with memchr(). A run of bytes to keep is
// taken in blocks of 16: compares find its end, the letters to lower and the white space, and
// shuffles drop the latter. Only the few bytes at which an element or a comment may begin or end
// are taken one by one. Before anything is timed its output is compared with the engine's, see
// EngineHost.
#pragma once

#include <cstdint>
#include <string_view>

class RunNormaliser {
  public:
    /// Starts a new stream.
    /// @param header  its first 256 bytes, or all if there are fewer; they decide the mode
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
    /// Keeps bytes up to and including the first `stop`, all if there is none.
    /// @return whether there was one
    bool keepThrough(char stop);
    void keepRun(const char* end);
    void skipRun(const char* end);

    State state = State::Plain;
    size_t matched = 0;  // how many bytes of the word that the state waits for have come
    const char* in = nullptr;
    const char* inEnd = nullptr;
    char* written = nullptr;
};
