// PlainLineReader: the lines of a plain pattern file.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>

namespace STREAMENGINE_SPACE {

/// Borrows its file and reads from the file's position to its end.
class PlainLineReader {
  public:
    static constexpr size_t kLineRoom = 8192;  // bytes, the final NUL included

    explicit PlainLineReader(std::FILE* source) : file(source) {}

    /// Reads the next line, or the next piece of one that does not fit.
    /// @return false at the end of the file and after a read error; ferror() is then set
    bool next();

    /// @return the line, NUL-terminated, without trailing blanks, tabs, carriage returns and line
    ///         feeds; valid until next()
    const char* line() const { return text.data(); }

    /// @return number of the line in the file, from 1; all pieces of a line have the same number
    uint32_t lineNumber() const { return number; }

  private:
    std::FILE* file;
    std::array<char, kLineRoom> text{};
    uint32_t number = 0;
    bool atLineStart = true;
};

}  // namespace STREAMENGINE_SPACE
