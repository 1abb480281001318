// The sections of a restored container body: PatternLoader's part that walks them.

#include "pattern/PatternLoader.h"
#include "pattern/container/ContainerFault.h"
#include "pattern/container/SectionReader.h"
#include "pattern/line/SignatureLine.h"
#include "store/PatternContainer.h"
#include "support/LoadPosition.h"
#include "support/Log.h"

namespace STREAMENGINE_SPACE {
namespace {

using QLT_SPACE::Exception;

constexpr const char* kUnit = "ZVKPatternLoader";

_SectionTable readSectionEntry(BodyReader& table, const ContainerHeader& header, uint32_t index) {
    _SectionTable::Bytes bytes{};
    const uint64_t offset = header.sectionOffset(index);
    if (!table.readAll(offset, bytes)) {
        const size_t length = table.view(offset, bytes.size()).size();
        ZVK_ERROR("fail to read section table, readlen[%d]", static_cast<int>(length));
        throw Exception("fail to read section table.");
    }
    return _SectionTable::decode(bytes);
}

}  // namespace

int PatternLoader::loadSections(std::FILE* file, const ContainerHeader& header,
                                PatternContainer& container) {
    RestoredBody body(file);
    uint32_t total = 0;
    for (uint32_t i = 0; i < header.sectionCount; ++i) {
        const _SectionTable section = readSectionEntry(body.table, header, i);
        if (getPatternType(section.sectionMagic) == PATTERN_UNKNOWN) {
            ZVK_ERROR("table magic[%08x] is invalid", section.sectionMagic);
            continue;
        }
        if (!parseSection(body, section, container)) {
            ZVK_ERROR("fail to parse section table[%08x].", section.sectionMagic);
            throw Exception("fail to parse section table.");
        }
        total += static_cast<uint32_t>(LoadPosition::line());
    }
    return static_cast<int>(total);
}

bool PatternLoader::parseSection(RestoredBody& body, const _SectionTable& section,
                                 PatternContainer& container) {
    LoadPosition::setLine(0);
    const int type = getPatternType(section.sectionMagic);
    SectionReader reader(body, section);
    try {
        if (type == PATTERN_MD5 && section.recordCount != 0) {
            reader.checkRecordCount();  // before room is made for so many
            if (!container.md5List.allocate(static_cast<int>(section.recordCount))) return false;
        }
        while (reader.next()) {
            LoadPosition::setLine(LoadPosition::line() + 1);
            addRecord(reader.line().c_str(), type, container);
        }
    } catch (ContainerFault& fault) {
        if (!fault.precedingLine.empty()) ZVK_ERROR("%s", fault.precedingLine.c_str());
        ZVK_ERROR("%s", fault.toString());
        return false;
    }
    return true;
}

void PatternLoader::addRecord(const char* line, int type, PatternContainer& container) {
    try {
        addSignatureLine(container, line, type, false);
    } catch (Exception& refusal) {
        ZVK_ERROR("%s", refusal.toString());
    }
}

}  // namespace STREAMENGINE_SPACE
