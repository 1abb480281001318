// SignatureSet: generated sets. The same seed gives the same set, byte for byte.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <vector>

#include "TextSource.h"
#include "testing/Signature.h"

/// @param next  makes the parts of a signature
/// @return so many signatures, none twice
std::vector<Signature> distinctSignatures(size_t count,
                                          const std::function<std::vector<SignaturePart>()>& next);

/// @return signatures, none twice: 60 % are plain strings of 10 to 60 bytes, 25 % have wildcards
///         and alternatives, 15 % have two or three parts with gaps between them
std::vector<Signature> bodySignatures(TextSource& source, size_t count, uint64_t seed);

/// @return lines of plain strings of 40 random bytes; all of the same length, so that the memory
///         that one costs above its own bytes is easy to compute
std::string plainLines(size_t count, uint64_t seed);

/// @return lines of an .hdb file; their sizes are spread from 100 bytes to 1 MiB, as many from 100
///         to 200 as from 200 to 400
std::string digestLines(size_t count, uint64_t seed);

void writeText(const std::filesystem::path& file, const std::string& text);
std::vector<Signature> readLines(const std::filesystem::path& file);
