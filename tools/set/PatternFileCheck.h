// PatternFileCheck: which lines of a pattern file the engine refuses, and why, and which signatures
// make scanning slow.
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
    // Names of the signatures with a part that has no four fixed bytes in a row: where its bytes
    // may be is found out at more positions, and with more work, than for others. Sorted.
    std::vector<std::string> slow;
};

/// Loads the file a second time, into a container of its own, and looks at what it holds.
/// @param path  a file that the engine has loaded
/// @throws PatternError if it can no longer be loaded
PatternFileCheck checkPatternFile(const std::string& path);

}  // namespace zvk
