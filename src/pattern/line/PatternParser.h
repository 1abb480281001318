// PatternParser: the hexadecimal notation of signatures.
//
// Each message of a refusal names the file and line of LoadPosition.
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

    /// Decodes two digits for each byte, high digit first; "?" and any character give 0x38, the low
    /// byte of kAnySymbol.
    /// @throws QLT_SPACE::Exception for an odd length or a character that is no digit
    static std::vector<uint8_t> hex2str(std::string_view hex);

    /// Decodes into symbols; "?" and any character give kAnySymbol, "@" and any kGroupSymbol.
    /// @throws QLT_SPACE::Exception for an odd length or a character that is no digit
    static std::vector<Symbol> hex2si(std::string_view hex);

    /// Decodes the digits of a digest into the length / 2 bytes at out.
    /// @param length  the digits that the digest must have
    /// @throws QLT_SPACE::Exception for an odd length, a text of another length, or a character
    ///         that is no digit; the bytes before it are written
    static void hex2str(std::string_view hex, uint8_t* out, unsigned int length);
};

}  // namespace STREAMENGINE_SPACE
