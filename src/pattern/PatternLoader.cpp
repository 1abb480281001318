#include "pattern/PatternLoader.h"

#include <cstring>
#include <ctime>
#include <optional>
#include <string>

#include "pattern/PlainLineReader.h"
#include "pattern/TypeSignatures.h"
#include "pattern/container/ContainerReader.h"
#include "pattern/line/SignatureLine.h"
#include "store/PatternContainer.h"
#include "support/EngineOption.h"
#include "support/Exception.h"
#include "support/LoadPosition.h"
#include "support/Log.h"
#include "support/StringHelper.h"

namespace STREAMENGINE_SPACE {
namespace {

using QLT_SPACE::Exception;
using QLT_SPACE::StringHelper;

constexpr const char* kUnit = "ZVKPatternLoader";

/// The same text goes to standard output, where hosts may capture it.
void reportRefusedLine(Exception& refusal) {
    ZVK_ERROR("container.addString :%s", refusal.toString());
    std::printf("%s\n", refusal.toString());
}

/// Runs one stage of reading a container. A fault is logged, line by line, and thrown on: its
/// message is the reason with which the engine's load fails.
template <class Stage>
auto logFault(Stage stage) {
    try {
        return stage();
    } catch (ContainerFault& fault) {
        for (const std::string& line : fault.logLines) ZVK_ERROR("%s", line.c_str());
        throw;
    }
}

void logHeader(const char* name, const ContainerHeader& header) {
    const std::time_t buildTime = header.buildTime;
    std::tm local{};
    localtime_r(&buildTime, &local);
    const auto& version = header.version;
    ZVK_INFO("[%s]", name);
    ZVK_INFO("version                 :[%d.%d.%d.%d]", static_cast<int>(version[0]),
             static_cast<int>(version[1]), static_cast<int>(version[2]),
             static_cast<int>(version[3]));
    ZVK_INFO("# of section            :[%d]", static_cast<int>(header.sectionCount));
    ZVK_INFO("# of pattern names      :[%d]", static_cast<int>(header.nameTotal));
    ZVK_INFO("# of patttern           :[%d]", static_cast<int>(header.patternTotal));
    ZVK_INFO("build time              :[%04d-%02d-%02d %02d:%02d:%02d]", local.tm_year + 1900,
             local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
    ZVK_INFO("%s", "");
}

void addRecord(const std::string& line, int type, PatternContainer& container) {
    try {
        addSignatureLine(container, line.c_str(), type, false);
    } catch (Exception& refusal) {
        ZVK_ERROR("%s", refusal.toString());
    }
}

void loadSection(SectionReader& section, PatternContainer& container) {
    const uint32_t recordCount = section.entry().recordCount;
    if (section.type() == PATTERN_MD5 && recordCount != 0) {
        section.checkRecordCount();  // before room for so many is reserved
        if (!container.md5List.allocate(static_cast<int>(recordCount))) throw section.noMemory();
    }
    while (section.next()) {
        LoadPosition::setLine(LoadPosition::line() + 1);
        addRecord(section.line(), section.type(), container);
    }
}

/// While a section is read, LoadPosition::line() is the number of the record, from 1; the messages
/// of refused lines show it.
/// @return the number of records in all sections
int loadSections(ContainerReader& reader, PatternContainer& container) {
    uint32_t total = 0;
    while (std::optional<SectionReader> section = reader.nextSection()) {
        if (section->type() == PATTERN_UNKNOWN) {
            ZVK_ERROR("table magic[%08x] is invalid", section->entry().sectionMagic);
            continue;
        }
        LoadPosition::setLine(0);
        loadSection(*section, container);
        total += static_cast<uint32_t>(LoadPosition::line());
    }
    return static_cast<int>(total);
}

/// Records that were added before a fault stay in the container: the engine empties it when a load
/// fails.
int loadContainerFile(const char* name, std::FILE* file, PatternContainer& container) {
    ContainerReader reader(name, file);
    logFault([&] { reader.checkHeader(); });
    logHeader(name, reader.header());
    logFault([&] { reader.restoreBody(); });
    LoadPosition::setFile(name);
    int total = 0;
    try {
        total = logFault([&] { return loadSections(reader, container); });
    } catch (Exception& failure) {
        ZVK_ERROR("Catch exception in parse pattern file, [%s]", failure.toString());
        ZVK_ERROR("Fail to parse file sections, [%s] is not a valid VQ pattern file", name);
        throw;
    }
    const uint32_t buildTime = reader.header().buildTime;
    if (container.patternVersion < buildTime) container.patternVersion = buildTime;
    return total;
}

}  // namespace

int PatternLoader::getPatternType(const char* name) {
    const char* slash = std::strrchr(name, '/');
    const char* base = slash != nullptr ? slash + 1 : name;
    if (StringHelper::endsWith(base, ".db")) return PATTERN_BASIC;
    if (StringHelper::endsWith(base, ".hdb")) return PATTERN_MD5;
    if (StringHelper::endsWith(base, ".ndb")) return PATTERN_EXTENDED;
    if (StringHelper::endsWith(base, "hwinfo")) return PATTERN_HWINFO;
    return std::strchr(base, '.') == nullptr ? PATTERN_CONTAINER : PATTERN_UNKNOWN;
}

int PatternLoader::loadVQPattern(const char* name, std::FILE* file, PatternContainer& container) {
    if (ops.skipPatterns != 0) return 0;
    const int type = getPatternType(name);
    if (type == PATTERN_UNKNOWN) {
        ZVK_ERROR("Unknown VQEngine pattern file:[%s]", name);
        return 0;
    }
    if (type != PATTERN_CONTAINER) return loadPlainFile(name, file, container);
    return loadContainerFile(name, file, container);
}

int PatternLoader::loadPlainFile(const char* name, std::FILE* file, PatternContainer& container) {
    ZVK_DEBUG("load pattern file : %s", name);
    const int type = getPatternType(name);
    if (type == PATTERN_UNKNOWN || type == PATTERN_CONTAINER) {
        ZVK_DEBUG("Unknown VQEngine pattern file:[%s]", name);
        return 0;
    }
    LoadPosition::setLine(0);
    LoadPosition::setFile(name);
    std::fseek(file, 0, SEEK_SET);
    PlainLineReader reader(file);
    while (reader.next()) {
        try {
            addSignatureLine(container, reader.line(), type, false);
            LoadPosition::setLine(LoadPosition::line() + 1);
        } catch (Exception& refusal) {
            reportRefusedLine(refusal);
        }
    }
    // A set that lacks the rest of a file must not pass for the whole one.
    if (std::ferror(file) != 0) throw Exception(std::string("Cannot read ") + name);
    ZVK_DEBUG("loaded pattern num : %d", LoadPosition::line());
    return LoadPosition::line();
}

void PatternLoader::prepare(PatternContainer& container) {
    addTypeSignatures(container.typeTrieTree);
    container.prepare();
}

}  // namespace STREAMENGINE_SPACE
