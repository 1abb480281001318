#include "set/ContainerFile.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <cerrno>
#include <system_error>

#include "pattern/PatternLoader.h"
#include "pattern/container/BodyReader.h"
#include "pattern/container/BodyRestoration.h"
#include "pattern/container/ContainerFault.h"
#include "pattern/container/DeflateDecompressor.h"
#include "pattern/line/PatternType.h"
#include "set/PatternFile.h"

namespace zvk {

namespace {

using namespace STREAMENGINE_SPACE;
using QLT_SPACE::FilePtr;
using Place = BrokenContainer::Place;

// Offsets of header fields that are told as broken.
constexpr uint64_t kBodyLengthOffset = 44;
constexpr uint64_t kDigestOffset = 48;
constexpr uint64_t kCipherOffset = 80;

FilePtr temporaryFile() {
    FilePtr file(std::tmpfile());
    if (file) return file;
    throw PatternError(
        fmt::format("cannot create a temporary file: {}", std::generic_category().message(errno)));
}

}  // namespace

std::string BrokenContainer::where() const {
    return fmt::format("offset {} of the {}", offset,
                       place == Place::kFile ? "file" : "restored body");
}

ContainerFile::ContainerFile(const std::string& path)
    : filePath(path), file(openPatternFile(path)) {
    struct stat status;
    if (fstat(fileno(file.get()), &status) != 0 || !S_ISREG(status.st_mode))
        throw PatternError(fmt::format("{} is no regular file", path));
    fileLength = static_cast<uint64_t>(status.st_size);
    ContainerHeader::Bytes bytes{};
    const size_t read = std::fread(bytes.data(), 1, bytes.size(), file.get());
    if (std::ferror(file.get()) != 0) throw PatternError(fmt::format("cannot read {}", path));
    if (read == bytes.size()) fileHeader = ContainerHeader::decode(bytes);
}

void ContainerFile::checkHeader() const {
    const auto fail = [](uint64_t offset, const std::string& reason) {
        throw BrokenContainer(Place::kFile, offset, reason);
    };
    if (!hasHeader()) {
        fail(fileLength,
             fmt::format("the file ends inside its header of {} bytes", kContainerHeaderLength));
    }
    const uint64_t behindHeader = fileLength - kContainerHeaderLength;
    if (behindHeader != fileHeader.bodyLength) {
        fail(kBodyLengthOffset, fmt::format("the header tells of a body of {} bytes, {} follow it",
                                            fileHeader.bodyLength, behindHeader));
    }
    if (fileHeader.magic != kContainerMagic)
        fail(0, "the file does not begin with VQPattern and a NUL");
    if (fileHeader.cipherMethod > kCipherTripleDes)
        fail(kCipherOffset, fmt::format("unknown cipher method {}", fileHeader.cipherMethod));
}

void ContainerFile::restore() {
    checkHeader();
    const FilePtr deciphered = temporaryFile();
    FilePtr restored = temporaryFile();
    std::fseek(file.get(), kContainerHeaderLength, SEEK_SET);
    try {
        foundDigest = decipherBody(file.get(), fileHeader, deciphered.get());
    } catch (QLT_SPACE::Exception& failure) {
        throw PatternError(fmt::format("{}: {}", filePath, failure.toString()));
    }
    isDigested = true;
    if (foundDigest != fileHeader.bodyDigest) {
        throw BrokenContainer(Place::kFile, kDigestOffset,
                              "the deciphered body has another digest than the header tells");
    }
    try {
        inflateBody(deciphered.get(), restored.get(), fileHeader.bodyLength);
    } catch (BrokenDeflateStream& fault) {
        throw BrokenContainer(Place::kFile, kContainerHeaderLength,
                              fmt::format("the body cannot be inflated: {}", fault.toString()));
    } catch (QLT_SPACE::Exception& failure) {
        throw PatternError(fmt::format("{}: {}", filePath, failure.toString()));
    }
    body = std::move(restored);
}

uint64_t ContainerFile::bodyLength() const {
    return BodyReader(body.get(), 1).length();
}

void ContainerFile::walk(const OnSection& onSection, const OnRecord& onRecord) const {
    RestoredBody restored(body.get());
    for (uint32_t i = 0; i < fileHeader.sectionCount; ++i) {
        const uint64_t offset = fileHeader.sectionOffset(i);
        _SectionTable::Bytes bytes{};
        if (!restored.table.readAll(offset, bytes)) {
            throw BrokenContainer(
                Place::kBody, offset,
                fmt::format("entry {} of {} in the section table runs past the "
                            "end of the body, at {}",
                            i + 1, fileHeader.sectionCount, restored.table.length()));
        }
        const _SectionTable section = _SectionTable::decode(bytes);
        onSection(i + 1, section);
        walkRecords(i + 1, section, restored, onRecord);
    }
}

void ContainerFile::walkRecords(uint32_t number, const _SectionTable& section,
                                RestoredBody& restored, const OnRecord& onRecord) {
    const int type = PatternLoader::getPatternType(section.sectionMagic);
    if (type == PATTERN_UNKNOWN) return;
    SectionReader reader(restored, section);
    uint32_t record = 0;
    try {
        if (type == PATTERN_MD5) reader.checkRecordCount();
        for (record = 1; reader.next(); ++record) onRecord(number, reader);
    } catch (ContainerFault& fault) {
        const std::string where = record == 0 ? "" : fmt::format(", record {}", record);
        throw BrokenContainer(Place::kBody, fault.offset,
                              fmt::format("section {}{}: {}", number, where, fault.detail));
    }
}

}  // namespace zvk
