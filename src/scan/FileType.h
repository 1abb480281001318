// What a stream is, told by its first bytes: getFileType() and the type signatures.
//
// Each position is tried first against the magics that end there, then for being text, so a magic
// with a byte that is not text before its last (gzip, ELF, ZIP, MPEG, OLE2) is never reached and
// its stream counts as not text. Both refuse the stream.
#pragma once

#include <cstdint>

namespace STREAMENGINE_SPACE {

constexpr uint32_t kTypeUndecided = 500;  // all text so far, no known format
constexpr uint32_t kTypeNotText = 501;

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
