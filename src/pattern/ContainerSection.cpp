// The sections of a restored container body: PatternLoader's part that walks them.

#include <cstring>

#include "engine/ZVKUtil.h"
#include "pattern/ZVKPatternLoader.h"
#include "store/ZVKPatternContainer.h"
#include "support/DecimalNumber.h"
#include "support/Exception.h"

namespace STREAMENGINE_SPACE {
namespace {

using QLT_SPACE::Exception;

constexpr const char* kUnit = "ZVKPatternLoader";

/// @return the bytes read at an offset of the body; fewer than length where it ends or cannot be
///         positioned
size_t readAt(std::FILE* body, uint64_t offset, void* out, size_t length) {
    if (fseeko(body, static_cast<off_t>(offset), SEEK_SET) != 0) return 0;
    return std::fread(out, 1, length, body);
}

template <size_t kLength>
bool readAll(std::FILE* body, uint64_t offset, std::array<uint8_t, kLength>& bytes) {
    return readAt(body, offset, bytes.data(), kLength) == kLength;
}

/// Reads the record at position, which moves behind it.
/// @return nothing, after a log line, if the record is cut or too long
std::optional<std::string> readRecord(std::FILE* body, uint64_t& position) {
    std::array<uint8_t, 4> lengthBytes{};
    if (!readAll(body, position, lengthBytes)) {
        ZVK_ERROR("fail to read vq pat file");
        return std::nullopt;
    }
    const uint32_t length = decodeNumber32(lengthBytes.data());
    if (length > kLongestRecord) {
        ZVK_ERROR("pat [%d] is to long", static_cast<int>(length));
        return std::nullopt;
    }
    std::array<char, kLongestRecord + 1> text;  // NOLINT: read into right below
    if (std::fread(text.data(), 1, length, body) != length) {
        ZVK_ERROR("fail to read vq pat file");
        return std::nullopt;
    }
    text[length] = '\0';
    position += lengthBytes.size() + length;
    return text.data();
}

/// @return the signature line of a record, its name offset replaced by the name; nothing, after a
///         log line, if the record has no valid name
std::optional<std::string> restoreLine(std::FILE* body, const _SectionTable& section,
                                       std::string text) {
    const auto field = PatternLoader::getPatternNameOffset(section.sectionMagic, text);
    if (!field) {
        ZVK_ERROR("fail to get name offset");
        return std::nullopt;
    }
    const auto name =
        PatternLoader::getPatternName(body, section.nameTableOffset, field->nameOffset);
    if (!name) {
        ZVK_ERROR("fail to get name");
        return std::nullopt;
    }
    return text.replace(field->position, field->length, *name);
}

_SectionTable readSectionEntry(std::FILE* body, const ContainerHeader& header, uint32_t index) {
    std::array<uint8_t, kSectionEntryLength> bytes{};
    const uint64_t offset = header.sectionTableOffset + uint64_t{index} * kSectionEntryLength;
    const size_t length = readAt(body, offset, bytes.data(), bytes.size());
    if (length < bytes.size()) {
        ZVK_ERROR("fail to read section table, readlen[%d]", static_cast<int>(length));
        throw Exception("fail to read section table.");
    }
    return _SectionTable::decode(bytes);
}

}  // namespace

int PatternLoader::loadSections(std::FILE* body, const ContainerHeader& header,
                                PatternContainer& container) {
    uint32_t total = 0;
    for (uint32_t i = 0; i < header.sectionCount; ++i) {
        const _SectionTable section = readSectionEntry(body, header, i);
        if (getPatternType(section.sectionMagic) == PATTERN_UNKNOWN) {
            ZVK_ERROR("table magic[%08x] is invalid", section.sectionMagic);
            continue;
        }
        if (!parseSection(body, section, container)) {
            ZVK_ERROR("fail to parse section table[%08x].", section.sectionMagic);
            throw Exception("fail to parse section table.");
        }
        total += static_cast<uint32_t>(currentLine);
    }
    return static_cast<int>(total);
}

bool PatternLoader::parseSection(std::FILE* body, const _SectionTable& section,
                                 PatternContainer& container) {
    currentLine = 0;
    const int type = getPatternType(section.sectionMagic);
    if (type == PATTERN_MD5 && section.recordCount != 0 &&
        !container.md5List.allocate(static_cast<int>(section.recordCount))) {
        return false;
    }
    uint64_t position = section.recordOffset;
    for (uint32_t i = 0; i < section.recordCount; ++i) {
        auto text = readRecord(body, position);
        if (!text) return false;
        const auto line = restoreLine(body, section, std::move(*text));
        if (!line) return false;
        ++currentLine;
        try {
            container.addString(line->c_str(), type, false);
        } catch (Exception& refusal) {
            ZVK_ERROR("%s", refusal.toString());
        }
    }
    return true;
}

std::optional<PatternLoader::NameField> PatternLoader::getPatternNameOffset(uint32_t magic,
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
    const std::string digits(text.substr(field.position, field.length));
    if (digits.find_first_not_of("0123456789") != std::string::npos) return std::nullopt;
    field.nameOffset = QLT_SPACE::decimalInt32(digits.c_str());
    return field;
}

std::optional<std::string> PatternLoader::getPatternName(std::FILE* body, uint32_t tableOffset,
                                                         int32_t nameOffset) {
    std::array<uint8_t, kNameTableHeaderLength> headerBytes{};
    if (!readAll(body, tableOffset, headerBytes)) return std::nullopt;
    const NameTableHeader table = NameTableHeader::decode(headerBytes);
    uint64_t position =
        uint64_t{tableOffset} + kNameTableHeaderLength + static_cast<uint64_t>(nameOffset);
    uint32_t length = table.fixedNameSize;
    if (table.fixedNames == 1) {
        if (length == 0 || length > kLongestName) {
            ZVK_ERROR("fixedNameSize[%d] is invalid", static_cast<int>(length));
            return std::nullopt;
        }
    } else {
        std::array<uint8_t, 1> lengthByte{};
        if (!readAll(body, position, lengthByte)) return std::nullopt;
        length = lengthByte[0];
        position += lengthByte.size();
        if (length == 0 || length > kLongestName) return std::nullopt;
    }
    std::array<char, kLongestName + 1> name{};
    if (readAt(body, position, name.data(), length) != length) return std::nullopt;
    return name.data();
}

}  // namespace STREAMENGINE_SPACE
