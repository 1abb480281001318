#include "pattern/container/SectionReader.h"

#include <algorithm>
#include <utility>

#include "pattern/container/SectionKind.h"
#include "support/Utils.h"

namespace STREAMENGINE_SPACE {
namespace {

using QLT_SPACE::Utils;

// Hosts search their logs for these texts and for those below: the spelling is part of the
// interface.
constexpr const char* kShortRead = "fail to read vq pat file";
constexpr const char* kNoOffset = "fail to get name offset";
constexpr const char* kNoName = "fail to get name";

// Bytes of each window. Records are read one after the other, names in any order.
constexpr size_t kRecordWindow = 32768;
constexpr size_t kNameWindow = 8192;
constexpr size_t kTableWindow = 4096;
static_assert(kRecordWindow >= kLongestRecord && kNameWindow >= kLongestName);

/// Texts and names are strings that end at their first NUL, if they hold one.
std::string_view upToNul(std::string_view stored) {
    return stored.substr(0, stored.find('\0'));
}

bool isNameLength(uint32_t length) {
    return length >= 1 && length <= kLongestName;
}

std::string wrongLengthText(uint32_t length) {
    return Utils::formatString("a name of %u bytes, but only 1 to %u are allowed", length,
                               kLongestName);
}

}  // namespace

RestoredBody::RestoredBody(std::FILE* file)
    : table(file, kTableWindow),
      records(file, kRecordWindow),
      names(file, kNameWindow),
      recordBytesLeft(table.length()) {}

SectionReader::SectionReader(RestoredBody& restoredBody, const _SectionTable& entry,
                             uint32_t sectionNumber)
    : body(restoredBody),
      tableEntry(entry),
      section(sectionNumber),
      lineType(typeOfSection(entry.sectionMagic)),
      position(entry.recordOffset) {}

// The shortest record has 6 bytes: its length, one digit and a separator. So a section of 1,000,000
// MD5 records needs 6,000,000 bytes from its first record on, and as many that no other section has
// used. A section entry can claim 4 billion records in 36 bytes, but it cannot make the store
// reserve room for more than a sixth of the body's length.
void SectionReader::checkRecordCount() const {
    if (lineType != PATTERN_MD5) return;
    constexpr uint64_t kShortestRecord = kRecordHeaderLength + kShortestRecordText;
    const uint64_t bytesAfter = body.records.length() - std::min(position, body.records.length());
    const uint64_t room = std::min(bytesAfter, body.recordBytesLeft) / kShortestRecord;
    if (tableEntry.recordCount <= room) return;
    throw fault(
        {kShortRead},
        Utils::formatString("a section of %u records, but the body has room for at most %llu",
                            tableEntry.recordCount, static_cast<unsigned long long>(room)),
        position);
}

// The text is a view into the window of body.records. It stays valid while the name is read, as
// names have a window of their own.
bool SectionReader::next() {
    if (lineType == PATTERN_UNKNOWN) return false;
    if (recordNumber == 0) checkRecordCount();
    if (recordNumber == tableEntry.recordCount) return false;
    ++recordNumber;
    recordOffset = position;
    const std::string_view text = readText();
    const NameField field = getPatternNameOffset(text);
    recordName = getPatternName(field.nameOffset);
    recordLine.assign(text.substr(0, field.position));
    recordLine.append(recordName);
    recordLine.append(text.substr(field.position + field.length));
    return true;
}

std::string_view SectionReader::readText() {
    const auto shortRead = [this] {
        return fault({kShortRead}, "the record runs past the end of the body", position);
    };
    RecordHeaderBytes header{};
    if (!body.records.readAll(position, header)) throw shortRead();
    const uint32_t length = decodeRecordLength(header);
    if (length > kLongestRecord) {
        throw fault({Utils::formatString("pat [%d] is to long", static_cast<int>(length))},
                    Utils::formatString("a record of %u bytes, but at most %u are allowed", length,
                                        kLongestRecord),
                    position);
    }
    const std::string_view stored = body.records.view(position + header.size(), length);
    if (stored.size() != length) throw shortRead();
    const uint64_t whole = header.size() + length;
    if (whole > body.recordBytesLeft) {
        throw fault({kShortRead},
                    "the records of all sections are longer than the body, so some overlap",
                    position);
    }
    body.recordBytesLeft -= whole;
    position += whole;
    return upToNul(stored);
}

// The name field is the text before the first separator: "7" in "7=6162" and in "7:0:*:6162". In an
// MD5 line it is the text after the last colon: "7" in "0123...:512:7".
SectionReader::NameField SectionReader::getPatternNameOffset(std::string_view text) const {
    const auto noOffset = [this] {
        return fault({kNoOffset}, "the record's name field is not 1 to 16 decimal digits",
                     recordOffset + kRecordHeaderLength);
    };
    NameField field = {0, 0, 0};
    if (lineType == PATTERN_MD5) {
        const size_t colon = text.rfind(':');
        if (colon == std::string_view::npos) throw noOffset();
        field.position = colon + 1;
        field.length = text.size() - field.position;
    } else {
        field.length = text.find(lineType == PATTERN_BASIC ? '=' : ':');  // npos is too long
    }
    if (field.length == 0 || field.length > kLongestNameOffset) throw noOffset();
    for (const char c : text.substr(field.position, field.length)) {
        if (c < '0' || c > '9') throw noOffset();
        field.nameOffset = field.nameOffset * 10 + static_cast<uint64_t>(c - '0');  // 16 digits fit
    }
    return field;
}

// Read with the first name rather than with the section: a section without records needs no table.
void SectionReader::readNameTableHeader() {
    NameTableHeader::Bytes bytes{};
    const uint64_t tableOffset = tableEntry.nameTableOffset;
    if (!body.names.readAll(tableOffset, bytes))
        throw fault({kNoName}, "the name table runs past the end of the body", tableOffset);
    const NameTableHeader header = NameTableHeader::decode(bytes);
    const uint32_t length = header.fixedNameSize;
    if (header.fixedNames == 1 && !isNameLength(length)) {
        throw fault({Utils::formatString("fixedNameSize[%u] is invalid", length), kNoName},
                    wrongLengthText(length), tableOffset);
    }
    nameTable = header;
}

std::string_view SectionReader::getPatternName(uint64_t nameOffset) {
    if (!nameTable) readNameTableHeader();
    uint64_t nameStart = uint64_t{tableEntry.nameTableOffset} + kNameTableHeaderLength + nameOffset;
    const auto nameRunsOut = [&] {
        return fault({kNoName}, "the name runs past the end of the body", nameStart);
    };
    uint32_t length = nameTable->fixedNameSize;
    if (nameTable->fixedNames != 1) {
        std::array<uint8_t, 1> lengthByte{};
        if (!body.names.readAll(nameStart, lengthByte)) throw nameRunsOut();
        length = lengthByte[0];
        if (!isNameLength(length)) throw fault({kNoName}, wrongLengthText(length), nameStart);
        nameStart += lengthByte.size();
    }
    const std::string_view stored = body.names.view(nameStart, length);
    if (stored.size() != length) throw nameRunsOut();
    return upToNul(stored);
}

ContainerFault SectionReader::noMemory() const {
    return fault({}, "out of memory for its records", tableEntry.recordOffset);
}

ContainerFault SectionReader::fault(std::vector<std::string> logLines,
                                    const std::string& explanation, uint64_t faultOffset) const {
    logLines.push_back(
        Utils::formatString("fail to parse section table[%08x].", tableEntry.sectionMagic));
    const std::string which =
        recordNumber == 0 ? Utils::formatString("section %u: ", section)
                          : Utils::formatString("section %u, record %u: ", section, recordNumber);
    return {"fail to parse section table.", std::move(logLines), which + explanation,
            ContainerFault::Place::kRestoredBody, faultOffset};
}

}  // namespace STREAMENGINE_SPACE
