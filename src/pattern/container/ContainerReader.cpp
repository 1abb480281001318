#include "pattern/container/ContainerReader.h"

#include <cerrno>
#include <system_error>
#include <utility>

#include "pattern/container/BodyCipher.h"
#include "pattern/container/BodyRestoration.h"
#include "pattern/container/DeflateDecompressor.h"
#include "support/EngUtil.h"
#include "support/Utils.h"

namespace STREAMENGINE_SPACE {
namespace {

using QLT_SPACE::Exception;
using QLT_SPACE::FilePtr;
using QLT_SPACE::Utils;
using Place = ContainerFault::Place;

// Hosts search their logs for these texts and for those below: the spelling is part of the
// interface.
constexpr const char* kInvalidFile = "invalid pattern file";
constexpr const char* kNoBody = "fail to restore file body.";
constexpr const char* kNoTable = "fail to read section table.";

}  // namespace

ContainerReader::ContainerReader(std::string fileName, std::FILE* containerFile)
    : path(std::move(fileName)), file(containerFile), length(EngUtil::fileLength(containerFile)) {
    ContainerHeader::Bytes bytes{};
    headerBytesRead = std::fread(bytes.data(), 1, bytes.size(), file);
    if (hasHeader()) fileHeader = ContainerHeader::decode(bytes);
}

void ContainerReader::checkHeader() const {
    const std::string quoted = "[" + path + "]";
    if (!hasHeader()) {
        throw headerFault(
            quoted + " is not a VQ pattern file, filesize[" + std::to_string(headerBytesRead) + "]",
            Utils::formatString("the file ends inside its header of %zu bytes",
                                kContainerHeaderLength),
            length);
    }
    // The header has 32 bits for the length, so of a longer file only the low 32 bits can agree.
    const uint64_t bodyBytes = length - kContainerHeaderLength;
    if (static_cast<uint32_t>(bodyBytes) != fileHeader.bodyLength) {
        throw headerFault(
            "Fail to verify file length, " + quoted + " is not a valid VQ pattern file",
            Utils::formatString("the header says that the body has %u bytes, but it has %llu",
                                fileHeader.bodyLength, static_cast<unsigned long long>(bodyBytes)),
            kBodyLengthOffset);
    }
    if (fileHeader.magic != kContainerMagic) {
        throw headerFault(quoted + " is not a VQ pattern file",
                          "the file does not begin with VQPattern and a NUL", 0);
    }
}

// At most two temporary files are open at a time, and both vanish when they are closed. The
// deciphered one is closed as soon as it is inflated.
void ContainerReader::restoreBody() {
    const FilePtr deciphered = decipher();
    body = inflate(deciphered.get());
    restored.emplace(body.get());
}

FilePtr ContainerReader::decipher() {
    FilePtr deciphered = temporaryFile();
    try {
        foundDigest = decipherBody(file, fileHeader, deciphered.get());
    } catch (UnknownCipher& fault) {
        throw bodyFault(
            fault.toString(),
            Utils::formatString("unknown cipher method %u", unsigned{fileHeader.cipherMethod}),
            kCipherOffset);
    } catch (Exception& failure) {
        throw hostFault(failure.toString(), path + ": " + failure.toString());
    }
    if (*foundDigest != fileHeader.bodyDigest) {
        throw bodyFault("md5 check failed.",
                        "the digest of the deciphered body is not the one in the header",
                        kDigestOffset);
    }
    return deciphered;
}

FilePtr ContainerReader::inflate(std::FILE* deciphered) const {
    FilePtr inflated = temporaryFile();
    const auto logLine = [](Exception& failure) {
        return Utils::formatString("compress fail : %s", failure.toString());
    };
    try {
        inflateBody(deciphered, inflated.get(), fileHeader.bodyLength);
    } catch (BrokenDeflateStream& fault) {
        throw bodyFault(logLine(fault),
                        std::string("the body cannot be inflated: ") + fault.toString(),
                        kContainerHeaderLength);
    } catch (Exception& failure) {
        throw hostFault(logLine(failure), path + ": " + failure.toString());
    }
    return inflated;
}

FilePtr ContainerReader::temporaryFile() const {
    FilePtr temporary(std::tmpfile());
    if (temporary != nullptr) return temporary;
    const std::string reason = std::generic_category().message(errno);
    throw hostFault("fail to crt tmpfp.", "cannot create a temporary file: " + reason);
}

std::optional<SectionReader> ContainerReader::nextSection() {
    if (sectionNumber == fileHeader.sectionCount) return std::nullopt;
    const uint64_t offset = fileHeader.sectionOffset(sectionNumber++);
    _SectionTable::Bytes bytes{};
    if (!restored->table.readAll(offset, bytes)) {
        const size_t bytesRead = restored->table.view(offset, bytes.size()).size();
        throw ContainerFault(
            kNoTable, {Utils::formatString("fail to read section table, readlen[%zu]", bytesRead)},
            Utils::formatString(
                "entry %u of %u in the section table runs past the end of the body, at %llu",
                sectionNumber, fileHeader.sectionCount,
                static_cast<unsigned long long>(bodyLength())),
            Place::kRestoredBody, offset);
    }
    return SectionReader(*restored, _SectionTable::decode(bytes), sectionNumber);
}

// One function for each kind of fault: it adds the message and the last log line, which are the
// same for all faults of the kind. SectionReader does so for the faults of sections.

ContainerFault ContainerReader::headerFault(std::string logLine, std::string explanation,
                                            uint64_t offset) const {
    return {kInvalidFile, {std::move(logLine)}, std::move(explanation), Place::kFile, offset};
}

ContainerFault ContainerReader::bodyFault(std::string logLine, std::string explanation,
                                          uint64_t offset) const {
    return {kNoBody,
            {std::move(logLine),
             "Fail to restore file body, [" + path + "] is not a valid VQ pattern file"},
            std::move(explanation),
            Place::kFile,
            offset};
}

ContainerFault ContainerReader::hostFault(std::string logLine, std::string explanation) const {
    ContainerFault fault = bodyFault(std::move(logLine), std::move(explanation), 0);
    fault.place = Place::kHost;
    return fault;
}

}  // namespace STREAMENGINE_SPACE
