// FileType: the first gate of a stream. Only text is scanned, and of that only what is of no format
// that magic bytes at its start show.
//
// The bytes are read one after the other, as they come in. At each position the magics that end
// there are tried, and then whether the byte is text. So the first answer is the earliest one:
// "MZ" is known at its second byte, a gzip stream (1F 8B) is not text at its first one.
//
// That order has a consequence. A magic with a byte that is not text before its last byte never
// matches: gzip, ELF, ZIP, MPEG and OLE2 streams count as not text. Both answers refuse the stream.
// A stream that passes has still to show markup, see ZVKEngineInstance.
#pragma once

#include <cstdint>

namespace STREAMENGINE_SPACE {

constexpr uint32_t kTypeUndecided = 500;  // all text so far, no known format
constexpr uint32_t kTypeNotText = 501;
constexpr bool isNotText(uint32_t type) {
    return type == kTypeNotText;
}

/// What getFileType() reports beside its result.
struct _st_filetype_info {
    const char* description = nullptr;  // static text; set only when a known format was found
    uint32_t position = 0;              // set only when a byte that is not text was found
};

/// Types a stream by its first bytes.
/// @param data  the stream's first bytes collected so far, from its start
/// @param pos   first position not examined yet; advanced
/// @param info  filled as its fields say
/// @return kTypeUndecided, kTypeNotText or the code of a known format
uint32_t getFileType(const char* data, unsigned int len, unsigned int& pos,
                     _st_filetype_info* info);

}  // namespace STREAMENGINE_SPACE
