// BodyReader: reads a restored body at any offset, through a window.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string_view>
#include <vector>

namespace STREAMENGINE_SPACE {

class BodyReader {
  public:
    /// @param bodyFile    borrowed; nothing unwritten in its buffer. Its position plays no part.
    /// @param windowRoom  bytes read at once, where what is needed is not in the window; no view is
    ///                    longer
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
    std::vector<char> window;  // its first windowLength bytes hold
};

}  // namespace STREAMENGINE_SPACE
