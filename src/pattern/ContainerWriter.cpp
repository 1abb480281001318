#include "pattern/ContainerWriter.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <system_error>

#include "pattern/BodyWriter.h"
#include "pattern/PatternType.h"
#include "support/Exception.h"
#include "support/Utils.h"

namespace STREAMENGINE_SPACE {
namespace {

using QLT_SPACE::Exception;
using QLT_SPACE::Utils;

constexpr size_t kNameOffsetRoom = 10;  // digits of the largest name offset that is written
constexpr size_t kLongestRest = kLongestRecord - kNameOffsetRoom;
constexpr uint64_t kLongestBody = std::numeric_limits<int32_t>::max();  // readers' name offsets

uint32_t magicOf(int type) {
    switch (type) {
        case PATTERN_MD5:
            return kMD5Section;
        case PATTERN_BASIC:
            return kBasicSection;
        case PATTERN_EXTENDED:
            return kExtendedSection;
        default:
            throw Exception(Utils::formatString("lines of type %d cannot be packed", type));
    }
}

struct Field {
    size_t position;
    size_t length;
};

/// @return where the name of a line stands: of an MD5 line the third of the fields between colons,
///         of which several in a row are as one; of the others what is in front of the separator
Field nameField(std::string_view line, uint32_t magic) {
    if (magic != kMD5Section) {
        const size_t end = line.find(magic == kBasicSection ? '=' : ':');
        return {0, end == std::string_view::npos ? 0 : end};
    }
    size_t position = 0;
    for (int passed = 0; passed < 2 && position != std::string_view::npos; ++passed)
        position = line.find_first_not_of(':', line.find(':', position));
    if (position == std::string_view::npos) return {0, 0};
    return {position, std::min(line.find(':', position), line.size()) - position};
}

std::string recordText(std::string_view rest, uint32_t nameOffset, uint32_t magic) {
    std::string text = std::to_string(nameOffset);
    text.insert(magic == kMD5Section ? 0 : text.size(), rest);
    return text;
}

uint32_t checkedOffset(uint64_t offset) {
    if (offset > kLongestBody) {
        throw Exception(Utils::formatString("the body would be longer than %llu bytes",
                                            static_cast<unsigned long long>(kLongestBody)));
    }
    return static_cast<uint32_t>(offset);
}

void writeHeader(const ContainerHeader& header, std::FILE* file) {
    const auto bytes = header.encode();
    std::rewind(file);
    if (std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size() && std::fflush(file) == 0)
        return;
    const std::string reason = std::generic_category().message(errno);
    throw Exception(Utils::formatString("cannot write: %s", reason.c_str()));
}

}  // namespace

/// Where everything stands in the restored body: the section table, the records of each section,
/// the name table.
struct ContainerWriter::BodyLayout {
    std::vector<uint32_t> nameOffsets;  // of each name in the table
    std::vector<_SectionTable> entries;
};

void ContainerWriter::addLine(std::string_view line, int type) {
    const uint32_t magic = magicOf(type);
    const Field field = nameField(line, magic);
    if (field.length == 0) throw Exception("no name");
    if (field.length > kLongestName) {
        throw Exception(Utils::formatString("a name of %zu bytes, a container holds up to %u",
                                            field.length, kLongestName));
    }
    const std::string_view rest =
        magic == kMD5Section ? line.substr(0, field.position) : line.substr(field.length);
    if (rest.size() > kLongestRest) {
        throw Exception(Utils::formatString(
            "%zu bytes beside the name, a container holds up to %zu", rest.size(), kLongestRest));
    }
    const uint32_t name = indexOfName(line.substr(field.position, field.length));
    sectionOf(magic).records.push_back({std::string(rest), name});
    ++total;
}

ContainerWriter::Section& ContainerWriter::sectionOf(uint32_t magic) {
    const auto found = std::find_if(sections.begin(), sections.end(),
                                    [magic](const Section& s) { return s.magic == magic; });
    return found != sections.end() ? *found : sections.emplace_back(Section{magic, {}});
}

uint32_t ContainerWriter::indexOfName(std::string_view name) {
    const auto [entry, isNew] = nameIndices.try_emplace(std::string(name), nameTotal());
    if (isNew) names.emplace_back(name);
    longestName = std::max(longestName, name.size());
    return entry->second;
}

ContainerWriter::BodyLayout ContainerWriter::layOutBody() const {
    BodyLayout layout;
    uint64_t nameOffset = 0;
    for (const std::string& name : names) {
        layout.nameOffsets.push_back(checkedOffset(nameOffset));
        nameOffset += settings.fixedNames ? longestName : 1 + name.size();
    }
    uint64_t offset = sections.size() * kSectionEntryLength;
    for (const Section& section : sections) {
        layout.entries.push_back({section.magic, static_cast<uint32_t>(section.records.size()),
                                  checkedOffset(offset), 0});
        for (const Record& record : section.records) {
            const uint32_t place = layout.nameOffsets[record.name];
            offset += kRecordHeaderLength + recordText(record.rest, place, section.magic).size();
        }
    }
    checkedOffset(offset + kNameTableHeaderLength + nameOffset);
    for (_SectionTable& entry : layout.entries)
        entry.nameTableOffset = static_cast<uint32_t>(offset);
    return layout;
}

void ContainerWriter::write(std::FILE* file) const {
    const BodyLayout layout = layOutBody();
    ContainerHeader header;
    header.magic = kContainerMagic;
    header.version = settings.version;
    header.buildTime = settings.buildTime;
    header.sectionCount = static_cast<uint32_t>(sections.size());
    header.patternTotal = patternTotal();
    header.nameTotal = nameTotal();
    header.cipherMethod = settings.cipherMethod;

    writeHeader(header, file);  // again, and for good, once the body's length and digest are known
    BodyWriter body(file, header);
    for (const _SectionTable& entry : layout.entries) body.write(entry.encode());
    for (const Section& section : sections) writeRecords(section, layout, body);
    writeNames(body);
    body.finish(header);
    writeHeader(header, file);
}

void ContainerWriter::writeRecords(const Section& section, const BodyLayout& layout,
                                   BodyWriter& body) const {
    for (const Record& record : section.records) {
        const std::string text =
            recordText(record.rest, layout.nameOffsets[record.name], section.magic);
        body.write(encodeRecordLength(static_cast<uint32_t>(text.size())));
        body.write(text);
    }
}

void ContainerWriter::writeNames(BodyWriter& body) const {
    NameTableHeader header;
    if (settings.fixedNames) {
        header.fixedNames = 1;
        header.fixedNameSize = static_cast<uint16_t>(longestName);
    }
    body.write(header.encode());
    for (std::string name : names) {
        if (settings.fixedNames) {
            name.resize(longestName, '\0');
        } else {
            name.insert(name.begin(), static_cast<char>(name.size()));
        }
        body.write(name);
    }
}

}  // namespace STREAMENGINE_SPACE
