// zvk inspect: tells what is in a container pattern file, and precisely what is wrong with a broken
// one.

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
#include "set/ContainerFile.h"

namespace zvk {

namespace {

using namespace STREAMENGINE_SPACE;
using Json = nlohmann::ordered_json;

constexpr const char* kFooter = R"(Examples:
  zvk inspect base
  zvk inspect base --records | grep -c Script

Tells the header, the digest that the body has, the sections and, with --records, each record as
section, offset in the restored body, name and signature line. Of a body that would restore to far more
than lines deflate to nothing is told, unless the environment variable ZVK_BODY_LIMIT allows as many
bytes. Lines that the engine refuses are no fault of a container; 'zvk info' tells them.

Exit status: 0 a sound container, 1 a broken one, 2 an error.)";

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

std::string hexText(const std::array<uint8_t, 16>& digest) {
    return fmt::format("{:02x}", fmt::join(digest, ""));
}

/// What the command tells of a file, in the order in which it comes up.
class Report {
  public:
    virtual ~Report() = default;
    virtual void header(const ContainerFile& file) = 0;
    virtual void digest(const ContainerFile& file) = 0;
    virtual void section(uint32_t number, const _SectionTable& table) = 0;
    virtual void record(uint32_t section, const SectionReader& record) = 0;
    virtual void totals(uint64_t bodyLength, uint64_t recordCount, uint64_t nameCount) = 0;
    virtual void fault(const ContainerFile& file, const BrokenContainer& fault) = 0;
};

class TextReport : public Report {
  public:
    void header(const ContainerFile& file) override {
        const ContainerHeader& header = file.header();
        line("File", fmt::format("{}, {} bytes", printable(file.path()), file.length()));
        if (!file.hasHeader()) return;
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
    void digest(const ContainerFile& file) override {
        const bool isRight = file.digest() == file.header().bodyDigest;
        line("Digest found",
             fmt::format("{} ({})", hexText(file.digest()), isRight ? "right" : "wrong"));
    }
    void section(uint32_t number, const _SectionTable& table) override {
        line(fmt::format("Section {}", number),
             fmt::format("{}, {} records at {}, names at {}", kindName(table.sectionMagic),
                         table.recordCount, table.recordOffset, table.nameTableOffset));
    }
    void record(uint32_t section, const SectionReader& record) override {
        writeOutput(fmt::format("{}\t{}\t{}\t{}\n", section, record.offset(),
                                printable(record.name()), printable(record.line())));
    }
    void totals(uint64_t bodyLength, uint64_t recordCount, uint64_t nameCount) override {
        line("Restored",
             fmt::format("{} bytes, {} records with {} names", bodyLength, recordCount, nameCount));
    }
    void fault(const ContainerFile& file, const BrokenContainer& fault) override {
        flushOutput();
        complain(fmt::format("{}: {}: {}", file.path(), fault.where(), fault.what()));
    }

  private:
    static void line(std::string_view label, std::string_view value) {
        writeOutput(fmt::format("{:<13}: {}\n", label, value));
    }
};

class JsonReport : public Report {
  public:
    void header(const ContainerFile& file) override {
        Json object{{"type", "container"}, {"path", file.path()}, {"length", file.length()}};
        if (file.hasHeader()) {
            const ContainerHeader& header = file.header();
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
    void digest(const ContainerFile& file) override {
        writeOutput(jsonLine({{"type", "digest"},
                              {"found", hexText(file.digest())},
                              {"right", file.digest() == file.header().bodyDigest}}));
    }
    void section(uint32_t number, const _SectionTable& table) override {
        writeOutput(jsonLine({{"type", "section"},
                              {"section", number},
                              {"kind", kindName(table.sectionMagic)},
                              {"records", table.recordCount},
                              {"recordOffset", table.recordOffset},
                              {"nameTableOffset", table.nameTableOffset}}));
    }
    void record(uint32_t section, const SectionReader& record) override {
        writeOutput(jsonLine({{"type", "record"},
                              {"section", section},
                              {"offset", record.offset()},
                              {"name", record.name()},
                              {"line", record.line()}}));
    }
    void totals(uint64_t bodyLength, uint64_t recordCount, uint64_t nameCount) override {
        writeOutput(jsonLine({{"type", "restored"},
                              {"length", bodyLength},
                              {"records", recordCount},
                              {"names", nameCount}}));
    }
    void fault(const ContainerFile& /*file*/, const BrokenContainer& fault) override {
        const bool isInBody = fault.place == BrokenContainer::Place::kBody;
        writeOutput(jsonLine({{"type", "fault"},
                              {"where", isInBody ? "body" : "file"},
                              {"offset", fault.offset},
                              {"reason", fault.what()}}));
    }
};

void inspectBody(const ContainerFile& file, const InspectArguments& arguments, Report& report) {
    uint64_t recordCount = 0;
    std::unordered_set<std::string> names;
    file.walk([&](uint32_t number, const _SectionTable& table) { report.section(number, table); },
              [&](uint32_t section, const SectionReader& record) {
                  ++recordCount;
                  names.emplace(record.name());
                  if (arguments.withRecords) report.record(section, record);
              });
    report.totals(file.bodyLength(), recordCount, names.size());
}

ExitStatus inspect(const InspectArguments& arguments) {
    TextReport text;
    JsonReport json;
    Report& report = arguments.isJson ? static_cast<Report&>(json) : text;
    ContainerFile file(arguments.path);
    report.header(file);
    ExitStatus status = kNothingFound;
    try {
        file.restore();
        report.digest(file);
        inspectBody(file, arguments, report);
    } catch (const BrokenContainer& fault) {
        if (file.hasDigest() && fault.place == BrokenContainer::Place::kFile) report.digest(file);
        report.fault(file, fault);
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
    parser.add_flag("--records", arguments->withRecords, "Tell each record as well");
    parser.add_flag("--json", arguments->isJson, "One JSON object a line instead of text");
    parser.footer(kFooter);
    return [arguments] { return inspect(*arguments); };
}

const Command kInspect("inspect", "Tell what is in a container pattern file", setUp);

}  // namespace

}  // namespace zvk
