// ContainerFile: a container pattern file taken apart, and what is wrong with it told in full.
//
// The engine's loader answers a broken file with a line in the log; this tells where and why, with
// the same code for each stage.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>

#include "pattern/container/ContainerLayout.h"
#include "pattern/container/SectionReader.h"
#include "support/FilePtr.h"

namespace zvk {

/// The file is no sound container.
class BrokenContainer : public std::runtime_error {
  public:
    enum class Place { kFile, kBody };

    BrokenContainer(Place faultPlace, uint64_t faultOffset, const std::string& reason)
        : std::runtime_error(reason), place(faultPlace), offset(faultOffset) {}

    /// @return "offset N of the file" or "of the restored body"
    std::string where() const;

    const Place place;
    const uint64_t offset;  // bytes
};

class ContainerFile {
  public:
    /// Opens the file and reads its header, which may be broken.
    /// @throws PatternError if it is no regular file or cannot be read
    explicit ContainerFile(const std::string& path);

    const std::string& path() const { return filePath; }
    uint64_t length() const { return fileLength; }  // bytes
    /// Valid if the file is as long as a header.
    const STREAMENGINE_SPACE::ContainerHeader& header() const { return fileHeader; }
    bool hasHeader() const { return fileLength >= STREAMENGINE_SPACE::kContainerHeaderLength; }

    /// Checks the header and restores the body.
    /// @throws BrokenContainer, or PatternError if a temporary file cannot be written, the body is
    ///         longer than is allowed, or memory runs out
    void restore();

    /// Valid after the digest was computed by restore(), also when it is the wrong one.
    const std::array<uint8_t, 16>& digest() const { return foundDigest; }
    bool hasDigest() const { return isDigested; }
    /// Valid after restore(): bytes in the restored body.
    uint64_t bodyLength() const;

    using OnSection =
        std::function<void(uint32_t number, const STREAMENGINE_SPACE::_SectionTable&)>;
    using OnRecord =
        std::function<void(uint32_t section, const STREAMENGINE_SPACE::SectionReader& record)>;

    /// Walks a restored body; sections are numbered from 1.
    /// @param onSection  called in front of the records of each section
    /// @param onRecord   called for each record; not for sections of unknown kind, as those are
    ///                   skipped by the engine too
    /// @throws BrokenContainer
    void walk(const OnSection& onSection, const OnRecord& onRecord) const;

  private:
    void checkHeader() const;
    static void walkRecords(uint32_t number, const STREAMENGINE_SPACE::_SectionTable& section,
                            STREAMENGINE_SPACE::RestoredBody& restored, const OnRecord& onRecord);

    std::string filePath;
    QLT_SPACE::FilePtr file;
    uint64_t fileLength = 0;
    STREAMENGINE_SPACE::ContainerHeader fileHeader;
    std::array<uint8_t, 16> foundDigest{};
    bool isDigested = false;
    QLT_SPACE::FilePtr body;
};

}  // namespace zvk
