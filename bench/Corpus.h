// Corpus: the pages that a measurement runs over.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

using Pages = std::vector<std::string>;

/// Draws pages from the subfolders of a folder, from each in proportion to what it holds.
/// @param megabytes  about as many, of 1,000,000 bytes; all if there are fewer
/// @throws std::runtime_error if there is none
Pages samplePages(const std::filesystem::path& folder, double megabytes, uint64_t seed);

size_t totalBytes(const Pages& pages);
