// Restoration of a container's body: deciphered and digested into one temporary file, inflated into
// a second one, in constant memory.
//
// PatternLoader::restoreBody() runs both stages and logs what goes wrong; they stand here for tools
// that tell of each. Temporary files vanish when they are closed.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>

#include "pattern/container/ContainerLayout.h"

namespace STREAMENGINE_SPACE {

constexpr const char* kBodyLimitVariable = "ZVK_BODY_LIMIT";
// Without the variable: what the stored body justifies, as lines do not deflate that well, but in
// any case what a small set may have, and never more than a large one.
constexpr uint64_t kMostInflation = 100;
constexpr uint64_t kLeastBodyLimit = uint64_t{16} << 20;  // bytes
constexpr uint64_t kMostBodyLimit = uint64_t{1} << 30;    // bytes

/// Deciphers all that follows the position of in to the position of out.
/// @return the MD5 digest of what was written
/// @throws QLT_SPACE::Exception for an unknown cipher method, or if out cannot be written
std::array<uint8_t, 16> decipherBody(std::FILE* in, const ContainerHeader& header, std::FILE* out);

/// Inflates deciphered from its start to the position of out, and flushes out.
/// @throws BrokenDeflateStream or another QLT_SPACE::Exception, see DeflateDecompressor; also for a
///         body above bodyLimit()
void inflateBody(std::FILE* deciphered, std::FILE* out, uint64_t storedLength);

/// @param storedLength  bytes of the body in the file
/// @return how many bytes it may have once it is restored, so that a small file can fill neither
///         disk nor memory: what the environment variable says, in decimal, or the default
uint64_t bodyLimit(uint64_t storedLength);

}  // namespace STREAMENGINE_SPACE
