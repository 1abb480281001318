// NormaliseKernel: the normaliser's work on blocks of 64 bytes, a bit for each byte.
//
// A kernel says which bytes of a block matter and writes the ones that a mask keeps. What the bytes
// mean, and so which are kept, is the normaliser's to decide: between the two steps there is plain
// arithmetic on words of 64 bits, the same for every kernel.
#pragma once

#include <cstddef>
#include <cstdint>

#include "support/VectorUnit.h"

namespace STREAMENGINE_SPACE {

/// What is seen in a block; bit i stands for byte i.
struct BlockMarks {
    uint64_t open;    // "<"
    uint64_t close;   // ">"
    uint64_t space;   // 0x09 to 0x0D and 0x20
    uint64_t anchor;  // "<" followed by "a"
    uint64_t rare;    // "<" that may open a declaration, comment or script: "<!", "<a-", "<sc"
};

struct NormaliseKernel {
    static constexpr size_t kBlock = 64;
    static constexpr size_t kAhead = 16;  // bytes behind the last block that may be read

    /// Writes lowered what is not white space. Of out as many bytes as of text may be overwritten,
    /// kAhead included.
    /// @return the bytes written
    size_t (*stripSpace)(const char* text, size_t blockCount, char* out);

    /// Fills marks[0, blockCount). Marks of two letters look at the bytes behind the block, too.
    void (*mark)(const char* text, size_t blockCount, BlockMarks* marks);

    /// Writes lowered the bytes whose bits are set in keep[0, blockCount). Up to kBlock bytes
    /// behind the written ones may be overwritten.
    /// @return the bytes written
    size_t (*writeKept)(const char* text, const uint64_t* keep, size_t blockCount, char* out);
};

/// @return the kernel, or null where only the plain form runs
const NormaliseKernel* normaliseKernel(QLT_SPACE::VectorUnit kernel);

}  // namespace STREAMENGINE_SPACE
