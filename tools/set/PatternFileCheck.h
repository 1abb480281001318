// PatternFileCheck: which lines of a pattern file the engine refuses, and why.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zvk {

struct RefusedLine {
    uint32_t number = 0;  // of the line in the file, from 1; 0 in a container
    std::string reason;   // the engine's own text
};

struct PatternFileCheck {
    std::string path;
    uint64_t readCount = 0;  // lines of a plain file, records of a container
    std::vector<RefusedLine> refused;
};

/// Loads the file a second time, into a container of its own, and collects the refusals.
/// @param path  a file that the engine has loaded
/// @throws PatternError if it can no longer be loaded
PatternFileCheck checkPatternFile(const std::string& path);

}  // namespace zvk
