// Scrambling of detection names: they are stored scrambled, so that they are not readable in
// memory. The host gets an unscrambled copy.
#pragma once

#include <string>

namespace STREAMENGINE_SPACE {

/// Scrambles or unscrambles s in place: XORs each byte with key, but for a byte that equals key,
/// which would become the NUL that ends the text. The operation is its own inverse.
/// @return s, which may be null
char* xorString(char* s, unsigned char key);

/// @return a copy of name, scrambled or unscrambled with the engine's key
std::string scrambled(std::string name);

}  // namespace STREAMENGINE_SPACE
