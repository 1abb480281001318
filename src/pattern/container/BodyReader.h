// BodyReader: reads a restored body at any offset, through a window.
//
// The records of a section are short and follow each other. With one system call each, the calls
// would take most of a load. So the reader fetches a window of bytes at once and answers from it as
// long as what is asked for lies inside:
//
//   body      |..............[ window ]............................|
//   view(offset, count)         ^^^^     no system call
//
// A request outside moves the window so that it starts at the offset asked for.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string_view>
#include <vector>

namespace STREAMENGINE_SPACE {

class BodyReader {
  public:
    /// @param bodyFile    borrowed; nothing unwritten in its buffer. Its position is neither used
    ///                    nor changed.
    /// @param windowRoom  bytes of the window; no view is longer
    BodyReader(std::FILE* bodyFile, size_t windowRoom);

    /// @return bytes in the body
    uint64_t length() const { return bodyLength; }

    /// @return up to count bytes of the body, fewer where it ends; valid until the next call
    std::string_view view(uint64_t offset, size_t count);

    /// @return whether all of the array was read
    template <class Array>
    bool readAll(uint64_t offset, Array& bytes) {
        return view(offset, bytes.size())
                   .copy(reinterpret_cast<char*>(bytes.data()), bytes.size()) == bytes.size();
    }

  private:
    void moveWindow(uint64_t offset);

    int file;
    uint64_t bodyLength = 0;
    uint64_t windowOffset = 0;
    size_t windowLength = 0;
    std::vector<char> window;  // its first windowLength bytes are valid
};

}  // namespace STREAMENGINE_SPACE
