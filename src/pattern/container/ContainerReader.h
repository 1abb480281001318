// ContainerReader: reads a container pattern file, from its header to its last record.
//
// A container is read in four stages, each of which trusts what the stages before it have checked:
//
//   header    ->   body    ->   sections        ->   records
//   length,        decipher,    entries of the       SectionReader, which puts
//   magic          digest,      section table        the names back into the lines
//                  inflate
//
// The first thing that is wrong ends the reading with a ContainerFault. Nothing is logged here and
// nothing is stored: the engine's loader logs the fault and stores the records, the tools print
// both. So what the tools say about a file is what the engine does with it.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>

#include "pattern/container/ContainerFault.h"
#include "pattern/container/ContainerLayout.h"
#include "pattern/container/SectionReader.h"
#include "support/FilePtr.h"

namespace STREAMENGINE_SPACE {

class ContainerReader {
  public:
    using Digest = std::array<uint8_t, 16>;

    /// Reads the header, which may be wrong.
    /// @param fileName       appears in log lines and explanations
    /// @param containerFile  borrowed as long as the reader lives; at its start
    ContainerReader(std::string fileName, std::FILE* containerFile);

    const std::string& name() const { return path; }
    uint64_t fileLength() const { return length; }  // bytes
    bool hasHeader() const { return headerBytesRead == kContainerHeaderLength; }
    /// Its fields are 0 if the file is shorter than a header.
    const ContainerHeader& header() const { return fileHeader; }

    /// @throws ContainerFault if the file is too short, has another length than its header says, or
    ///         does not start with the magic
    void checkHeader() const;

    /// Restores the body into a temporary file. Call it once, after checkHeader().
    /// @throws ContainerFault
    void restoreBody();

    /// @return the MD5 digest that the body has; nothing until restoreBody() has computed it
    const std::optional<Digest>& digest() const { return foundDigest; }

    /// @return bytes of the restored body; valid after restoreBody()
    uint64_t bodyLength() const { return restored->table.length(); }

    /// Moves on to the next section, after restoreBody(). Sections of unknown kind are returned
    /// too; they have no records to read.
    /// @return the section, which borrows from this reader and of which only the newest may be
    ///         read; nothing after the last one
    /// @throws ContainerFault if the section table runs past the end of the body
    std::optional<SectionReader> nextSection();

  private:
    QLT_SPACE::FilePtr temporaryFile() const;
    QLT_SPACE::FilePtr decipher();
    QLT_SPACE::FilePtr inflate(std::FILE* deciphered) const;
    ContainerFault headerFault(std::string logLine, std::string explanation, uint64_t offset) const;
    ContainerFault bodyFault(std::string logLine, std::string explanation, uint64_t offset) const;
    ContainerFault hostFault(std::string logLine, std::string explanation) const;

    std::string path;
    std::FILE* file;
    uint64_t length;
    size_t headerBytesRead;
    ContainerHeader fileHeader;
    std::optional<Digest> foundDigest;
    QLT_SPACE::FilePtr body;               // the restored one
    std::optional<RestoredBody> restored;  // reads from body
    uint32_t sectionNumber = 0;            // of the newest section, from 1
};

}  // namespace STREAMENGINE_SPACE
