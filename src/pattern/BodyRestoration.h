// Restoration of a container's body: deciphered and digested into one temporary file, inflated into
// a second one, in constant memory.
//
// PatternLoader::restoreBody() runs both stages and logs what goes wrong; they stand here for tools
// that tell of each. Temporary files vanish when they are closed.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>

#include "pattern/ContainerLayout.h"

namespace STREAMENGINE_SPACE {

constexpr const char* kBodyLimitVariable = "ZVK_BODY_LIMIT";
constexpr uint64_t kDefaultBodyLimit = uint64_t{1} << 30;  // bytes

/// Deciphers all that follows the position of in to the position of out.
/// @return the MD5 digest of what was written
/// @throws QLT_SPACE::Exception for an unknown cipher method, or if out cannot be written
std::array<uint8_t, 16> decipherBody(std::FILE* in, const ContainerHeader& header, std::FILE* out);

/// Inflates deciphered from its start to the position of out, and flushes out.
/// @throws QLT_SPACE::Exception, see DeflateDecompressor; also for a body above bodyLimit()
void inflateBody(std::FILE* deciphered, std::FILE* out);

/// @return how many bytes a restored body may have, so that a small file cannot fill the disk:
///         what the environment variable says, in decimal, or kDefaultBodyLimit
uint64_t bodyLimit();

}  // namespace STREAMENGINE_SPACE
