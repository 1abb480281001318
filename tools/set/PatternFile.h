// PatternFile: opening pattern files, and what is told when they are of no use.
#pragma once

#include <stdexcept>
#include <string>

#include "support/FilePtr.h"

namespace zvk {

/// A pattern file cannot be used; what() names the file and the reason.
class PatternError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// @return the file, open for reading at its start
/// @throws PatternError, with the system's reason; also for a folder, which opens like a file
QLT_SPACE::FilePtr openPatternFile(const std::string& path);

}  // namespace zvk
