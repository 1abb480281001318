// Restoration of a container's body, in two stages that ContainerReader runs:
//
//   file  -- decipherBody() -->  temporary file  -- inflateBody() -->  restored body
//                                still deflated                         a temporary file too
//
// Each works in constant memory, however long the body is. The digest is that of the deciphered
// bytes, so a damaged file is refused before zlib reads it. But a digest does not stop an attacker,
// and 1 MiB of a zlib stream can inflate to 1 GiB. So what is written is limited by bodyLimit().
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>

#include "pattern/container/ContainerLayout.h"

namespace STREAMENGINE_SPACE {

constexpr const char* kBodyLimitVariable = "ZVK_BODY_LIMIT";
// The limit without the variable: 100 times the stored length, as signature lines do not deflate
// that well; but never less than a small set may need, and never more than a large one may.
constexpr uint64_t kMostInflation = 100;
constexpr uint64_t kLeastBodyLimit = uint64_t{16} << 20;  // bytes
constexpr uint64_t kMostBodyLimit = uint64_t{1} << 30;    // bytes

/// Deciphers the bytes from the position of in to its end, to the position of out.
/// @return the MD5 digest of the bytes written
/// @throws UnknownCipher
/// @throws QLT_SPACE::Exception if out cannot be written
std::array<uint8_t, 16> decipherBody(std::FILE* in, const ContainerHeader& header, std::FILE* out);

/// Inflates deciphered from its start to the position of out, and flushes out.
/// @param storedLength  see bodyLimit()
/// @throws BrokenDeflateStream if the bytes are no whole zlib stream
/// @throws QLT_SPACE::Exception if the output is longer than bodyLimit(), memory runs out or out
///         cannot be written
void inflateBody(std::FILE* deciphered, std::FILE* out, uint64_t storedLength);

/// @param storedLength  bytes of the body in the file
/// @return the bytes that the restored body may have: the value of the environment variable, a
///         decimal number, or the default. A small file then cannot fill the disk.
uint64_t bodyLimit(uint64_t storedLength);

}  // namespace STREAMENGINE_SPACE
