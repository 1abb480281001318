// Normaliser: turns raw bytes into the form that signatures are matched against.
//
// A-Z is lowered and white space (0x09 to 0x0D and 0x20) dropped. In markup mode only tags and
// script text are kept: text between tags is dropped, a declaration or comment is reduced to "<!>"
// and an anchor tag to "<a>". The state carries over from call to call, so that a tag may straddle
// chunks; at most one byte comes out for each that goes in.
//
// There are two forms with the same output. The scalar one takes one byte after the other. The
// vector one works on blocks of 64 bytes: the kernel marks them, MarkupState decides from the marks
// what is kept, and the kernel writes that. The last bytes of a chunk, and the last room of the
// output, are left to the scalar form.
#pragma once

#include <cstddef>
#include <cstdint>

#include "scan/normalise/MarkupState.h"
#include "scan/normalise/NormaliseKernel.h"
#include "support/VectorUnit.h"

namespace STREAMENGINE_SPACE {

class Normaliser {
  public:
    explicit Normaliser(QLT_SPACE::VectorUnit unit = QLT_SPACE::VectorUnit::Baseline);

    /// Normalises input into out until the input is used up or `room` bytes are written.
    /// @param data  advanced by the bytes consumed
    /// @param len   lowered by the bytes consumed; 0 consumes nothing
    /// @param out   room for `room` bytes, at least 1
    /// @return the bytes written
    unsigned int getBuffer(const char*& data, unsigned int& len, char* out, unsigned int room);

    /// @return whether raw text opens with markup: its first byte after white space and whole
    ///         comment lines is the "<" of a tag
    static bool checkHeader(const char* data, unsigned int len);

    /// Back to the state at the start of a stream; the mode stays.
    void restart();

    /// Off at first. Change it only at the start of a stream.
    void setMarkupMode(bool isOn) { htmlMode = isOn; }

  private:
    struct Cursor;

    void textScalar(Cursor& cursor);
    void textVector(Cursor& cursor) const;
    void markupScalar(Cursor& cursor);
    void markupVector(Cursor& cursor);
    bool markupBlocks(Cursor& cursor, const char* text, size_t blockCount, size_t padding);

    const NormaliseKernel* kernel;  // null where only the scalar form runs
    MarkupState state;
    bool htmlMode = false;  // markup mode
};

}  // namespace STREAMENGINE_SPACE
