// BodyReader: reads a restored body at any offset, through a window of a few KiB.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>

namespace STREAMENGINE_SPACE {

class BodyReader {
  public:
    static constexpr size_t kWindowRoom = 8192;  // bytes; no single read is longer

    /// @param bodyFile  borrowed; nothing unwritten in its buffer. Its position plays no part.
    explicit BodyReader(std::FILE* bodyFile);

    /// @return bytes in the body
    uint64_t length() const { return bodyLength; }

    /// Reads up to length bytes, at most kWindowRoom.
    /// @return bytes read; fewer where the body ends
    size_t readAt(uint64_t offset, void* out, size_t length);

    /// @return whether all of the array was read
    template <class Array>
    bool readAll(uint64_t offset, Array& bytes) {
        return readAt(offset, bytes.data(), bytes.size()) == bytes.size();
    }

  private:
    void moveWindow(uint64_t offset);

    int file;
    uint64_t bodyLength = 0;
    uint64_t windowOffset = 0;
    size_t windowLength = 0;
    std::array<char, kWindowRoom> window;  // NOLINT: its first windowLength bytes hold
};

}  // namespace STREAMENGINE_SPACE
