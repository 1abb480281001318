#include "pattern/container/SectionReader.h"

#include <algorithm>

#include "pattern/container/ContainerFault.h"
#include "support/Utils.h"

namespace STREAMENGINE_SPACE {
namespace {

using QLT_SPACE::Utils;

constexpr const char* kShortRead = "fail to read vq pat file";
constexpr const char* kNoName = "fail to get name";

// Records are read one after the other, names mostly from any place.
constexpr size_t kRecordWindow = 32768;
constexpr size_t kNameWindow = 8192;
constexpr size_t kTableWindow = 4096;
static_assert(kRecordWindow >= kLongestRecord && kNameWindow >= kLongestName);

/// Texts and names are strings that end at a NUL, if they hold one.
std::string_view upToNul(std::string_view stored) {
    return stored.substr(0, stored.find('\0'));
}

bool isNameLength(uint32_t length) {
    return length >= 1 && length <= kLongestName;
}

std::string wrongLengthText(uint32_t length) {
    return Utils::formatString("a name of %u bytes, 1 to %u are allowed", length, kLongestName);
}

ContainerFault nameRunsOut(uint64_t offset) {
    return ContainerFault(kNoName, "the name runs past the end of the body", offset);
}

}  // namespace

RestoredBody::RestoredBody(std::FILE* file)
    : table(file, kTableWindow),
      records(file, kRecordWindow),
      names(file, kNameWindow),
      recordBytesLeft(table.length()) {}

SectionReader::SectionReader(RestoredBody& restoredBody, const _SectionTable& table)
    : body(restoredBody),
      section(table),
      recordsLeft(table.recordCount),
      position(table.recordOffset) {}

void SectionReader::checkRecordCount() const {
    constexpr uint64_t kShortestRecord = kRecordHeaderLength + kShortestRecordText;
    const uint64_t behind = body.records.length() - std::min(position, body.records.length());
    const uint64_t room = std::min(behind, body.recordBytesLeft) / kShortestRecord;
    if (section.recordCount <= room) return;
    throw ContainerFault(
        kShortRead,
        Utils::formatString("a section of %u records, the body has room for %llu at most",
                            section.recordCount, static_cast<unsigned long long>(room)),
        position);
}

bool SectionReader::next() {
    if (recordsLeft == 0) return false;
    --recordsLeft;
    recordOffset = position;
    recordText = readText();
    const auto field = getPatternNameOffset(section.sectionMagic, recordText);
    if (!field) {
        throw ContainerFault("fail to get name offset",
                             "the record's name field is not 1 to 16 decimal digits",
                             recordOffset + kRecordHeaderLength);
    }
    recordName = getPatternName(field->nameOffset);
    recordLine.assign(recordText.substr(0, field->position));
    recordLine.append(recordName);
    recordLine.append(recordText.substr(field->position + field->length));
    return true;
}

std::string_view SectionReader::readText() {
    const auto shortRead = [this] {
        return ContainerFault(kShortRead, "the record runs past the end of the body", position);
    };
    RecordHeaderBytes header{};
    if (!body.records.readAll(position, header)) throw shortRead();
    const uint32_t length = decodeRecordLength(header);
    if (length > kLongestRecord) {
        throw ContainerFault(
            Utils::formatString("pat [%d] is to long", static_cast<int>(length)),
            Utils::formatString("a record of %u bytes, %u are allowed", length, kLongestRecord),
            position);
    }
    const std::string_view stored = body.records.view(position + header.size(), length);
    if (stored.size() != length) throw shortRead();
    const uint64_t whole = header.size() + length;
    if (whole > body.recordBytesLeft) {
        throw ContainerFault(
            kShortRead, "the records of all sections are longer than the body, so some overlap",
            position);
    }
    body.recordBytesLeft -= whole;
    position += whole;
    return upToNul(stored);
}

std::optional<SectionReader::NameField> SectionReader::getPatternNameOffset(uint32_t magic,
                                                                            std::string_view text) {
    NameField field = {0, 0, 0};
    if (magic == kBasicSection || magic == kExtendedSection) {
        const size_t end = text.find(magic == kBasicSection ? '=' : ':');
        if (end == std::string_view::npos) return std::nullopt;
        field.length = end;
    } else if (magic == kMD5Section) {
        const size_t colon = text.rfind(':');
        if (colon == std::string_view::npos) return std::nullopt;
        field.position = colon + 1;
        field.length = text.size() - field.position;
    }
    if (field.length == 0 || field.length > kLongestNameOffset) return std::nullopt;
    uint64_t value = 0;  // 16 digits fit
    for (const char c : text.substr(field.position, field.length)) {
        if (c < '0' || c > '9') return std::nullopt;
        value = value * 10 + static_cast<uint64_t>(c - '0');
    }
    field.nameOffset = value;
    return field;
}

void SectionReader::readNameTableHeader() {
    NameTableHeader::Bytes bytes{};
    const uint64_t place = section.nameTableOffset;
    if (!body.names.readAll(place, bytes))
        throw ContainerFault(kNoName, "the name table runs past the end of the body", place);
    const NameTableHeader header = NameTableHeader::decode(bytes);
    if (header.fixedNames == 1 && !isNameLength(header.fixedNameSize)) {
        throw ContainerFault(
            kNoName, wrongLengthText(header.fixedNameSize), place,
            Utils::formatString("fixedNameSize[%d] is invalid", header.fixedNameSize));
    }
    nameTable = header;
}

std::string_view SectionReader::getPatternName(uint64_t nameOffset) {
    if (!nameTable) readNameTableHeader();
    uint64_t place = section.nameTableOffset + kNameTableHeaderLength + nameOffset;
    uint32_t length = nameTable->fixedNameSize;
    if (nameTable->fixedNames != 1) {
        std::array<uint8_t, 1> lengthByte{};
        if (!body.names.readAll(place, lengthByte)) throw nameRunsOut(place);
        length = lengthByte[0];
        if (!isNameLength(length)) throw ContainerFault(kNoName, wrongLengthText(length), place);
        place += lengthByte.size();
    }
    const std::string_view stored = body.names.view(place, length);
    if (stored.size() != length) throw nameRunsOut(place);
    return upToNul(stored);
}

}  // namespace STREAMENGINE_SPACE
