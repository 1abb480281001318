// PatternLoader: reads one pattern file into a container.
//
// A plain file is read line by line; a line that is refused is logged and skipped. A container
// file is read by ContainerReader; anything wrong in it fails the whole file, with two exceptions:
// a malformed line is skipped, and so is a section of unknown kind. Both are logged.
#pragma once

#include <cstdio>

#include "pattern/line/PatternType.h"

namespace STREAMENGINE_SPACE {

class PatternContainer;

class PatternLoader {
  public:
    /// Reads a pattern file from its start. The end of its name decides its kind.
    /// @param name  the file's path
    /// @param file  borrowed, at its start
    /// @return the lines that the container accepted or, of a container file, the records read;
    ///         0 for a file of unknown kind and while the skip-patterns option is on
    /// @throws QLT_SPACE::Exception if a container file is wrong or a plain one cannot be read
    static int loadVQPattern(const char* name, std::FILE* file, PatternContainer& container);

    /// Reads a plain pattern file from its start.
    /// @return the lines that the container accepted
    /// @throws QLT_SPACE::Exception if the file cannot be read
    static int loadPlainFile(const char* name, std::FILE* file, PatternContainer& container);

    /// Finishes a container after its last file. Nothing can be added then.
    static void prepare(PatternContainer& container);

    /// @return the PatternType of a file with this name; its content is not read
    static int getPatternType(const char* name);
};

}  // namespace STREAMENGINE_SPACE
