// Corpus: the pages that a measurement scans.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

using Pages = std::vector<std::string>;

/// Draws pages from the subfolders of a folder, from each in proportion to its bytes.
/// @param megabytes  how much to draw, about, in units of 1,000,000 bytes; all pages if there are
///                   fewer
/// @throws std::runtime_error if there is no page
Pages samplePages(const std::filesystem::path& folder, double megabytes, uint64_t seed);

size_t totalBytes(const Pages& pages);
