// WorkBuffer: the room in which a call works on its text.
//
// It belongs to the call and not to the stream, so that an idle stream keeps nothing but the tail
// of what it saw. It is on the stack unless the set has a very long signature.
#pragma once

#include <array>
#include <cstddef>
#include <memory>

namespace STREAMENGINE_SPACE {

template <size_t kInline>
class WorkBuffer {
  public:
    /// @throws std::bad_alloc if it is longer than kInline and memory runs out
    explicit WorkBuffer(size_t length)
        : allocated(length > kInline ? std::make_unique_for_overwrite<char[]>(length) : nullptr),
          bytes(allocated != nullptr ? allocated.get() : inlined.data()) {}
    WorkBuffer(const WorkBuffer&) = delete;
    WorkBuffer& operator=(const WorkBuffer&) = delete;

    char* data() { return bytes; }

  private:
    std::array<char, kInline> inlined;  // NOLINT: whoever reads it has written it
    std::unique_ptr<char[]> allocated;
    char* bytes;
};

}  // namespace STREAMENGINE_SPACE
