// PatternLoader: reads one pattern file into a container.
//
// A plain file is read line by line; a line that is refused is logged and skipped. A container
// file is checked, its body restored into a temporary file and its sections walked; anything
// broken fails the file.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>

#include "pattern/container/ContainerLayout.h"
#include "pattern/line/PatternType.h"
#include "support/FilePtr.h"
#include "support/Utils.h"

namespace STREAMENGINE_SPACE {

class PatternContainer;
struct RestoredBody;

class PatternLoader {
  public:
    /// Reads a pattern file, whose kind its name tells, from its start.
    /// @param name  the file's path
    /// @param file  stays open and is the caller's
    /// @return the lines that the container accepted or, of a container file, the records read;
    ///         0 for a file of unknown kind and while the skip-patterns option is on
    /// @throws QLT_SPACE::Exception if a container file is broken or a plain one cannot be read
    static int loadVQPattern(const char* name, std::FILE* file, PatternContainer& container);

    /// Reads a plain pattern file from its start.
    /// @return the lines that the container accepted
    /// @throws QLT_SPACE::Exception if the file cannot be read
    static int loadPlainFile(const char* name, std::FILE* file, PatternContainer& container);

    /// Finishes a container after its last file.
    static void prepare(PatternContainer& container);

    /// @return the PatternType that a file's name or a section's magic stands for
    static int getPatternType(const char* name);
    static int getPatternType(unsigned int magic);

    /// Hands all records of the sections that the header names to container.
    /// @return the number of records
    /// @throws QLT_SPACE::Exception if the table or a section of a known kind is broken
    static int loadSections(std::FILE* file, const ContainerHeader& header,
                            PatternContainer& container);

    /// Hands the records of one section to container; records that it refuses are logged.
    /// @return false if the section is broken; with a log line, but for a reservation that failed
    static bool parseSection(RestoredBody& body, const _SectionTable& section,
                             PatternContainer& container);

    static void printHeader(const char* name, const ContainerHeader& header);

    /// Restores the body of a container file from the file's position on.
    /// @return null, after a log line, if the body is not valid
    static QLT_SPACE::FilePtr restoreBody(std::FILE* file, const ContainerHeader& header);

    /// The stages of restoreBody(), each into a temporary file: deciphering, with the digest
    /// checked, and inflating from the start of the file, which is closed in any case.
    /// @return null, after a log line, if the body is not valid
    static QLT_SPACE::FilePtr decryptBody(std::FILE* file, const ContainerHeader& header);
    static QLT_SPACE::FilePtr uncompressBody(QLT_SPACE::FilePtr deciphered,
                                             const ContainerHeader& header);

  private:
    static void addRecord(const char* line, int type, PatternContainer& container);
    static int loadContainerFile(const char* name, std::FILE* file, PatternContainer& container);
};

}  // namespace STREAMENGINE_SPACE
