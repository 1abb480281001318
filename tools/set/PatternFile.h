// PatternFile: opens pattern files, and words the errors about those that cannot be used.
#pragma once

#include <stdexcept>
#include <string>

#include "pattern/container/ContainerFault.h"
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

/// Like openPatternFile(), for a reader that needs the file's length.
/// @throws PatternError also if it is no regular file or cannot be read
QLT_SPACE::FilePtr openContainerFile(const std::string& path);

/// @return "offset N of the file", or "of the restored body"
std::string placeOf(const STREAMENGINE_SPACE::ContainerFault& fault);

}  // namespace zvk
