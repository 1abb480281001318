#include "pattern/SectionReader.h"

#include <algorithm>

#include "pattern/ContainerFault.h"
#include "support/DecimalNumber.h"
#include "support/Utils.h"

namespace STREAMENGINE_SPACE {
namespace {

using QLT_SPACE::Utils;

constexpr const char* kShortRead = "fail to read vq pat file";
constexpr const char* kNoName = "fail to get name";

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

SectionReader::SectionReader(std::FILE* file, const _SectionTable& table, BodyBudget& bodyBudget)
    : records(file),
      names(file),
      section(table),
      budget(bodyBudget),
      recordsLeft(table.recordCount),
      position(table.recordOffset) {}

void SectionReader::checkRecordCount() const {
    constexpr uint64_t kShortestRecord = kRecordHeaderLength + kShortestRecordText;
    const uint64_t behind = records.length() - std::min(position, records.length());
    const uint64_t room = std::min(behind, budget.recordBytes) / kShortestRecord;
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
    readText();
    const auto field = getPatternNameOffset(section.sectionMagic, text());
    if (!field) {
        throw ContainerFault("fail to get name offset",
                             "the record's name field is not 1 to 16 decimal digits",
                             recordOffset + kRecordHeaderLength);
    }
    getPatternName(field->nameOffset);
    recordLine.assign(text()).replace(field->position, field->length, name());
    return true;
}

void SectionReader::readText() {
    const auto shortRead = [this] {
        return ContainerFault(kShortRead, "the record runs past the end of the body", position);
    };
    RecordHeaderBytes header{};
    if (!records.readAll(position, header)) throw shortRead();
    const uint32_t length = decodeRecordLength(header);
    if (length > kLongestRecord) {
        throw ContainerFault(
            Utils::formatString("pat [%d] is to long", static_cast<int>(length)),
            Utils::formatString("a record of %u bytes, %u are allowed", length, kLongestRecord),
            position);
    }
    if (records.readAt(position + header.size(), recordText.data(), length) != length)
        throw shortRead();
    recordText[length] = '\0';
    const uint64_t whole = header.size() + length;
    if (whole > budget.recordBytes) {
        throw ContainerFault(
            kShortRead, "the records of all sections are longer than the body, so some overlap",
            position);
    }
    budget.recordBytes -= whole;
    position += whole;
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
    std::array<char, kLongestNameOffset + 1> digits{};
    text.copy(digits.data(), field.length, field.position);
    if (std::string_view(digits.data(), field.length).find_first_not_of("0123456789") !=
        std::string_view::npos) {
        return std::nullopt;
    }
    field.nameOffset = QLT_SPACE::decimalInt32(digits.data());
    return field;
}

void SectionReader::readNameTableHeader() {
    NameTableHeader::Bytes bytes{};
    const uint64_t place = section.nameTableOffset;
    if (!names.readAll(place, bytes))
        throw ContainerFault(kNoName, "the name table runs past the end of the body", place);
    const NameTableHeader header = NameTableHeader::decode(bytes);
    if (header.fixedNames == 1 && !isNameLength(header.fixedNameSize)) {
        throw ContainerFault(
            kNoName, wrongLengthText(header.fixedNameSize), place,
            Utils::formatString("fixedNameSize[%d] is invalid", header.fixedNameSize));
    }
    nameTable = header;
}

void SectionReader::getPatternName(int32_t nameOffset) {
    if (!nameTable) readNameTableHeader();
    uint64_t place = uint64_t{section.nameTableOffset} + kNameTableHeaderLength +
                     static_cast<uint64_t>(nameOffset);
    uint32_t length = nameTable->fixedNameSize;
    if (nameTable->fixedNames != 1) {
        std::array<uint8_t, 1> lengthByte{};
        if (!names.readAll(place, lengthByte)) throw nameRunsOut(place);
        length = lengthByte[0];
        if (!isNameLength(length)) throw ContainerFault(kNoName, wrongLengthText(length), place);
        place += lengthByte.size();
    }
    if (names.readAt(place, recordName.data(), length) != length) throw nameRunsOut(place);
    recordName[length] = '\0';
}

}  // namespace STREAMENGINE_SPACE
