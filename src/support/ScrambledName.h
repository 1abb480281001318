// Scrambling of detection names: they are stored so, and unscrambled on a copy for the host.
#pragma once

#include <string>

namespace STREAMENGINE_SPACE {

/// Scrambles or unscrambles s in place. Each byte that differs from key is XORed with it, so no NUL
/// arises and the operation is its own inverse.
/// @return s, which may be null
char* xorString(char* s, unsigned char key);

/// @return a copy of name, scrambled or unscrambled with the engine's key
std::string scrambled(std::string name);

}  // namespace STREAMENGINE_SPACE
