// SignatureSet: generated sets, the same for the same seed.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "TextSource.h"
#include "testing/Signature.h"

/// Six in ten plain strings of 10 to 60 bytes, a quarter with wildcards and alternatives, the
/// others of several parts with gaps between them; none twice.
std::vector<Signature> bodySignatures(TextSource& source, size_t count, uint64_t seed);

/// Lines of plain strings of 40 random bytes: what one costs is easily told from what it holds.
std::string plainLines(size_t count, uint64_t seed);

/// Lines of an .hdb file. The sizes are spread from 100 bytes to 1 MiB, each doubling alike.
std::string digestLines(size_t count, uint64_t seed);

void writeText(const std::filesystem::path& file, const std::string& text);
std::vector<Signature> readLines(const std::filesystem::path& file);
