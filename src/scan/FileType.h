// What a stream is, told by its first bytes: EngUtil::getFileType() and the type signatures.
//
// Each position is tried first against the magics that end there, then for being text, so a magic
// with a byte that is not text before its last (gzip, ELF, ZIP, MPEG, OLE2) is never reached and
// its stream counts as not text. Both refuse the stream.
#pragma once

#include <cstdint>

#include "engine/ZVKUtil.h"

namespace STREAMENGINE_SPACE {

constexpr uint32_t kTypeUndecided = 500;  // all text so far, no known format
constexpr uint32_t kTypeNotText = 501;
constexpr uint16_t kTypeMarkup = 525;

/// A signature by which text is recognised as markup, over the normalised stream.
struct TypeSignature {
    const char* signature;  // hexadecimal; null ends the list
    const char* name;
    uint16_t typeCode;
};

extern const TypeSignature zvkSMagic[];

}  // namespace STREAMENGINE_SPACE
