// PatternParser: the hexadecimal notation of signatures.
//
// The messages of refusals name the file and line of LoadPosition.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "store/record/VQPattern.h"

namespace STREAMENGINE_SPACE {

class PatternParser {
  public:
    /// @return 0 to 15
    /// @throws QLT_SPACE::Exception "Invalid hex string in [%s:%d]"
    static int hex2int(char c);

    /// Decodes two digits a byte, high digit first; "?" and any character give 0x38.
    /// @throws QLT_SPACE::Exception for an odd length or a character that is no digit
    static std::vector<uint8_t> hex2str(std::string_view hex);

    /// Decodes into symbols; "?" and any character give kAnySymbol, "@" and any kGroupSymbol.
    /// @throws QLT_SPACE::Exception for an odd length or a character that is no digit
    static std::vector<Symbol> hex2si(std::string_view hex);

    /// Decodes a digest text of exactly len digits into the len / 2 bytes at out.
    /// @throws QLT_SPACE::Exception for an odd len, another length, or a character that is no
    ///         digit; the bytes before it are written
    static void hex2str(std::string_view hex, uint8_t* out, unsigned int len);
};

}  // namespace STREAMENGINE_SPACE
