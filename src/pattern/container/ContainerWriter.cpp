#include "pattern/container/ContainerWriter.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <system_error>

#include "pattern/container/BodyWriter.h"
#include "pattern/container/SectionKind.h"
#include "support/Exception.h"
#include "support/Utils.h"

namespace STREAMENGINE_SPACE {
namespace {

using QLT_SPACE::Exception;
using QLT_SPACE::Utils;

// Readers may keep offsets in the body as signed 32-bit numbers.
constexpr uint64_t kLongestBody = std::numeric_limits<int32_t>::max();

struct Field {
    size_t position;
    size_t length;
};

/// @return the name of a line: the text before the separator, or of an MD5 line the third field,
///         where several colons in a row count as one; empty if there is none
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

/// The offsets in the restored body. It holds the section table, then the records of each section,
/// then the name table.
struct ContainerWriter::BodyLayout {
    size_t longestName = 0;             // bytes
    std::vector<uint32_t> nameOffsets;  // of each name in the table
    std::vector<_SectionTable> entries;
    uint64_t length = 0;  // bytes
};

void ContainerWriter::addLine(std::string_view line, int type) {
    const uint32_t magic = magicOfSection(type);
    if (magic == 0) throw Exception(Utils::formatString("lines of type %d cannot be packed", type));
    const Field field = nameField(line, magic);
    if (field.length == 0) throw Exception("no name");
    if (field.length > kLongestName) {
        throw Exception(Utils::formatString("a name of %zu bytes, a container holds up to %u",
                                            field.length, kLongestName));
    }
    const std::string_view rest =
        magic == kMD5Section ? line.substr(0, field.position) : line.substr(field.length);
    const std::string name(line.substr(field.position, field.length));
    const size_t length = rest.size() + std::to_string(mostOffsetOf(name)).size();
    if (length > kLongestRecord) {
        throw Exception(Utils::formatString("a record of %zu bytes, a container holds up to %u",
                                            length, kLongestRecord));
    }
    if (sections.empty() || sections.back().magic != magic) sections.push_back({magic, {}});
    sections.back().records.push_back({std::string(rest), indexOfName(name)});
    ++total;
}

// addLine() has to refuse a record that would be too long, but with fixed names an offset is known
// only when the longest name is. So it counts with the highest offset that is possible: all names
// before this one have the greatest length that the format allows.
uint64_t ContainerWriter::mostOffsetOf(const std::string& name) const {
    if (const auto known = nameIndices.find(name); known != nameIndices.end())
        return names[known->second].mostOffset;
    if (names.empty()) return 0;
    const Name& last = names.back();
    return last.mostOffset + (settings.fixedNames ? kLongestName : 1 + last.text.size());
}

uint32_t ContainerWriter::indexOfName(const std::string& name) {
    const uint64_t offset = mostOffsetOf(name);
    const auto [entry, isNew] = nameIndices.try_emplace(name, nameTotal());
    if (isNew) names.push_back({name, offset});
    return entry->second;
}

// The body is written in one pass, but its start holds the offsets of its end. So all offsets are
// computed first. A record's text contains its name offset as decimal digits, and so its length
// depends on that offset:
//
//   name offsets   ->   lengths of the records   ->   offsets of the sections and the name table
//
// Name offsets count from the start of the names, not of the body, so they come first.
ContainerWriter::BodyLayout ContainerWriter::layOutBody() const {
    BodyLayout layout;
    for (const Name& name : names)
        layout.longestName = std::max(layout.longestName, name.text.size());
    uint64_t nameOffset = 0;
    for (const Name& name : names) {
        layout.nameOffsets.push_back(checkedOffset(nameOffset));
        nameOffset += settings.fixedNames ? layout.longestName : 1 + name.text.size();
    }
    uint64_t offset = sections.size() * kSectionEntryLength;
    for (const Section& section : sections) {
        layout.entries.push_back({section.magic, static_cast<uint32_t>(section.records.size()),
                                  checkedOffset(offset), 0});
        for (const Record& record : section.records) {
            const uint32_t name = layout.nameOffsets[record.name];
            offset += kRecordHeaderLength + recordText(record.rest, name, section.magic).size();
        }
    }
    layout.length = checkedOffset(offset + kNameTableHeaderLength + nameOffset);
    for (_SectionTable& entry : layout.entries)
        entry.nameTableOffset = static_cast<uint32_t>(offset);
    return layout;
}

uint64_t ContainerWriter::write(std::FILE* file) const {
    const BodyLayout layout = layOutBody();
    ContainerHeader header;
    header.magic = kContainerMagic;
    header.version = settings.version;
    header.buildTime = settings.buildTime;
    header.sectionCount = static_cast<uint32_t>(sections.size());
    header.patternTotal = patternTotal();
    header.nameTotal = nameTotal();
    header.cipherMethod = settings.cipherMethod;

    writeHeader(header,
                file);  // reserves its bytes; written again with the body's length and digest
    BodyWriter body(file, header);
    for (const _SectionTable& entry : layout.entries) body.write(entry.encode());
    for (const Section& section : sections) writeRecords(section, layout, body);
    writeNames(layout, body);
    body.finish(header);
    writeHeader(header, file);
    return layout.length;
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

void ContainerWriter::writeNames(const BodyLayout& layout, BodyWriter& body) const {
    NameTableHeader header;
    if (settings.fixedNames) {
        header.fixedNames = 1;
        header.fixedNameSize = static_cast<uint16_t>(layout.longestName);
    }
    body.write(header.encode());
    for (const Name& name : names) {
        std::string text = name.text;
        if (settings.fixedNames) {
            text.resize(layout.longestName, '\0');
        } else {
            text.insert(text.begin(), static_cast<char>(text.size()));
        }
        body.write(text);
    }
}

}  // namespace STREAMENGINE_SPACE
