// zvk inspect: prints what a container pattern file holds and, if the file is broken, the first
// thing that is wrong and its offset.

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <CLI/CLI.hpp>
#include <ctime>
#include <memory>
#include <string_view>
#include <unordered_set>

#include "command/Command.h"
#include "console/Diagnostics.h"
#include "console/JsonLine.h"
#include "console/Output.h"
#include "pattern/container/ContainerReader.h"
#include "set/PatternFile.h"

namespace zvk {

namespace {

using namespace STREAMENGINE_SPACE;
using Json = nlohmann::ordered_json;

constexpr const char* kFooter = R"(Examples:
  zvk inspect base
  zvk inspect base --records | grep -c Script

Prints the header, the digest that the body really has, and the sections. With --records it also
prints each record: the number of its section, its offset in the restored body, its name and its
signature line.

A body may inflate to 100 times its stored size or to 16 MiB, whichever is more, but never to more than
1 GiB. The environment variable ZVK_BODY_LIMIT (bytes) sets another limit. A larger body is not restored
and counts as broken. A signature line that the engine refuses does not make a container broken; 'zvk info'
prints such lines.

Exit status: 0 the container is sound, 1 it is broken, 2 an error.)";

struct InspectArguments {
    std::string path;
    bool isJson = false;
    bool withRecords = false;
};

std::string kindName(uint32_t magic) {
    switch (magic) {
        case kBasicSection:
            return "basic";
        case kExtendedSection:
            return "extended";
        case kMD5Section:
            return "md5";
        default:
            return fmt::format("unknown kind {:#010x}", magic);
    }
}

std::string cipherName(uint16_t method) {
    constexpr const char* kNames[] = {"none", "des", "3des"};
    return method <= kCipherTripleDes ? kNames[method] : "unknown";
}

std::string hexText(const ContainerReader::Digest& digest) {
    return fmt::format("{:02x}", fmt::join(digest, ""));
}

/// Prints what is found in a file, in the order in which it is found.
class Report {
  public:
    virtual ~Report() = default;
    virtual void header(const ContainerReader& reader) = 0;
    virtual void digest(const ContainerReader& reader) = 0;
    virtual void section(const SectionReader& section) = 0;
    virtual void record(const SectionReader& section) = 0;
    virtual void totals(uint64_t bodyLength, uint64_t recordCount, uint64_t nameCount) = 0;
    virtual void fault(const ContainerReader& reader, const ContainerFault& fault) = 0;
};

class TextReport : public Report {
  public:
    void header(const ContainerReader& reader) override {
        const ContainerHeader& header = reader.header();
        line("File", fmt::format("{}, {} bytes", printable(reader.name()), reader.fileLength()));
        if (!reader.hasHeader()) return;
        line("Version", fmt::format("{}", fmt::join(header.version, ".")));
        line("Build time", fmt::format("{} ({:%Y-%m-%d %H:%M:%S} UTC)", header.buildTime,
                                       fmt::gmtime(static_cast<std::time_t>(header.buildTime))));
        line("Cipher",
             fmt::format("{} ({})", cipherName(header.cipherMethod), header.cipherMethod));
        line("Body", fmt::format("{} bytes", header.bodyLength));
        line("Digest", hexText(header.bodyDigest));
        line("Signatures", std::to_string(header.patternTotal));
        line("Names", std::to_string(header.nameTotal));
        line("Sections",
             fmt::format("{}, table at {}", header.sectionCount, header.sectionTableOffset));
    }
    void digest(const ContainerReader& reader) override {
        const bool isRight = reader.digest() == reader.header().bodyDigest;
        line("Digest found",
             fmt::format("{} ({})", hexText(*reader.digest()), isRight ? "right" : "wrong"));
    }
    void section(const SectionReader& section) override {
        const _SectionTable& entry = section.entry();
        line(fmt::format("Section {}", section.number()),
             fmt::format("{}, {} records at {}, names at {}", kindName(entry.sectionMagic),
                         entry.recordCount, entry.recordOffset, entry.nameTableOffset));
    }
    void record(const SectionReader& section) override {
        writeOutput(fmt::format("{}\t{}\t{}\t{}\n", section.number(), section.offset(),
                                printable(section.name()), printable(section.line())));
    }
    void totals(uint64_t bodyLength, uint64_t recordCount, uint64_t nameCount) override {
        line("Restored",
             fmt::format("{} bytes, {} records with {} names", bodyLength, recordCount, nameCount));
    }
    void fault(const ContainerReader& reader, const ContainerFault& fault) override {
        flushOutput();
        complain(fmt::format("{}: {}: {}", reader.name(), placeOf(fault), fault.detail));
    }

  private:
    static void line(std::string_view label, std::string_view value) {
        writeOutput(fmt::format("{:<13}: {}\n", label, value));
    }
};

class JsonReport : public Report {
  public:
    void header(const ContainerReader& reader) override {
        Json object{
            {"type", "container"}, {"path", reader.name()}, {"length", reader.fileLength()}};
        if (reader.hasHeader()) {
            const ContainerHeader& header = reader.header();
            object.update({{"version", fmt::format("{}", fmt::join(header.version, "."))},
                           {"buildTime", header.buildTime},
                           {"cipher", cipherName(header.cipherMethod)},
                           {"cipherMethod", header.cipherMethod},
                           {"bodyLength", header.bodyLength},
                           {"bodyDigest", hexText(header.bodyDigest)},
                           {"patternTotal", header.patternTotal},
                           {"nameTotal", header.nameTotal},
                           {"sectionCount", header.sectionCount},
                           {"sectionTableOffset", header.sectionTableOffset}});
        }
        writeOutput(jsonLine(object));
    }
    void digest(const ContainerReader& reader) override {
        writeOutput(jsonLine({{"type", "digest"},
                              {"found", hexText(*reader.digest())},
                              {"right", reader.digest() == reader.header().bodyDigest}}));
    }
    void section(const SectionReader& section) override {
        const _SectionTable& entry = section.entry();
        writeOutput(jsonLine({{"type", "section"},
                              {"section", section.number()},
                              {"kind", kindName(entry.sectionMagic)},
                              {"records", entry.recordCount},
                              {"recordOffset", entry.recordOffset},
                              {"nameTableOffset", entry.nameTableOffset}}));
    }
    void record(const SectionReader& section) override {
        writeOutput(jsonLine({{"type", "record"},
                              {"section", section.number()},
                              {"offset", section.offset()},
                              {"name", section.name()},
                              {"line", section.line()}}));
    }
    void totals(uint64_t bodyLength, uint64_t recordCount, uint64_t nameCount) override {
        writeOutput(jsonLine({{"type", "restored"},
                              {"length", bodyLength},
                              {"records", recordCount},
                              {"names", nameCount}}));
    }
    void fault(const ContainerReader& /*reader*/, const ContainerFault& fault) override {
        const bool isInBody = fault.place == ContainerFault::Place::kRestoredBody;
        writeOutput(jsonLine({{"type", "fault"},
                              {"where", isInBody ? "body" : "file"},
                              {"offset", fault.offset},
                              {"reason", fault.detail}}));
    }
};

void inspectBody(ContainerReader& reader, bool withRecords, Report& report) {
    uint64_t recordCount = 0;
    std::unordered_set<std::string> names;
    while (std::optional<SectionReader> section = reader.nextSection()) {
        report.section(*section);
        while (section->next()) {
            ++recordCount;
            names.emplace(section->name());
            if (withRecords) report.record(*section);
        }
    }
    report.totals(reader.bodyLength(), recordCount, names.size());
}

ExitStatus inspect(const InspectArguments& arguments) {
    TextReport text;
    JsonReport json;
    Report& report = arguments.isJson ? static_cast<Report&>(json) : text;
    const QLT_SPACE::FilePtr file = openContainerFile(arguments.path);
    ContainerReader reader(arguments.path, file.get());
    report.header(reader);
    ExitStatus status = kNothingFound;
    try {
        reader.checkHeader();
        reader.restoreBody();
        report.digest(reader);
        inspectBody(reader, arguments.withRecords, report);
    } catch (const ContainerFault& fault) {
        if (fault.place == ContainerFault::Place::kHost) throw PatternError(fault.detail);
        if (reader.digest() && fault.place == ContainerFault::Place::kFile) report.digest(reader);
        report.fault(reader, fault);
        status = kSomethingFound;
    }
    flushOutput();
    return status;
}

CommandAction setUp(CLI::App& parser) {
    auto arguments = std::make_shared<InspectArguments>();
    parser.add_option("file", arguments->path, "Container pattern file, whatever its name")
        ->required()
        ->type_name("FILE");
    parser.add_flag("--records", arguments->withRecords, "Print each record as well");
    parser.add_flag("--json", arguments->isJson, "One JSON object a line instead of text");
    parser.footer(kFooter);
    return [arguments] { return inspect(*arguments); };
}

const Command kInspect("inspect", "Print what a container pattern file holds", setUp);

}  // namespace

}  // namespace zvk
