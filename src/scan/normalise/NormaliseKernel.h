// NormaliseKernel: the part of the normaliser's work that vector instructions do, on blocks of 64
// bytes.
//
// A kernel turns each block into masks with a bit for each byte (which bytes are "<", which are
// white space), and writes the bytes that a mask keeps. What the bytes mean, and so which ones are
// kept, is decided between the two, in plain arithmetic on 64-bit words that is the same for every
// kernel, see MarkupState. So a new vector unit needs three short functions and no knowledge of
// markup.
#pragma once

#include <cstddef>
#include <cstdint>

namespace STREAMENGINE_SPACE {

/// What a block contains; bit i belongs to byte i.
struct BlockMarks {
    uint64_t open;    // "<"
    uint64_t close;   // ">"
    uint64_t space;   // 0x09 to 0x0D and 0x20
    uint64_t anchor;  // "<" followed by "a"
    uint64_t rare;    // "<" that may open a declaration, comment or script: "<!", "<a-", "<sc"
};

struct NormaliseKernel {
    static constexpr size_t kBlock = 64;
    static constexpr size_t kAhead = 16;  // bytes after the last block that may be read

    /// Writes all bytes but white space, lowered. As many bytes of out may be overwritten as are
    /// read of text, kAhead included.
    /// @return the bytes written
    size_t (*dropSpace)(const char* text, size_t blockCount, char* out);

    /// Fills marks[0, blockCount). The marks of two and three letters also read the two bytes after
    /// the last block.
    void (*markBlocks)(const char* text, size_t blockCount, BlockMarks* marks);

    /// Writes the bytes whose bits are set in keep[0, blockCount), lowered. Up to kBlock bytes
    /// after the written ones may be overwritten.
    /// @return the bytes written
    size_t (*writeKept)(const char* text, const uint64_t* keep, size_t blockCount, char* out);
};

}  // namespace STREAMENGINE_SPACE
