// zvk unpack: turns a container pattern file back into plain ones.
//
// Every file is written beside its final name, and all get their names at the end. A fault in the
// last section leaves no file of the first ones.

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <string_view>
#include <vector>

#include "command/Command.h"
#include "console/Diagnostics.h"
#include "console/Output.h"
#include "file/ReplacedFile.h"
#include "pattern/container/ContainerReader.h"
#include "set/PatternFile.h"

namespace fs = std::filesystem;

namespace zvk {

namespace {

using namespace STREAMENGINE_SPACE;

constexpr const char* kFooter = R"(Examples:
  zvk unpack base -o lines
  zvk pack -o again lines/base-*

Writes one plain pattern file for each section that has records. Its name is made of the container's
name, the section's number and the kind of its lines: base-1.ndb, base-2.db, base-3.hdb. Packed again
in the order of these names, the files load to the same set. Files that exist are kept, unless --force
is given. Nothing is written if the container is broken.

Exit status: 0 all records were written, 1 a plain file cannot hold some of them, 2 an error.)";

struct UnpackArguments {
    std::string path;
    std::string folder;
    bool isForced = false;
};

const char* endingOf(uint32_t magic) {
    switch (magic) {
        case kBasicSection:
            return ".db";
        case kExtendedSection:
            return ".ndb";
        case kMD5Section:
            return ".hdb";
        default:
            return nullptr;
    }
}

/// @return whether a plain file can hold the line: a line feed would make two lines of it, and the
///         reader of plain files cuts blanks, tabs and carriage returns at the end of a line
bool isPlainLine(std::string_view line) {
    return line.find('\n') == std::string_view::npos &&
           line.find_last_not_of(" \t\r") == line.size() - 1;
}

class Unpacker {
  public:
    explicit Unpacker(const UnpackArguments& unpackArguments)
        : arguments(unpackArguments),
          container(openContainerFile(unpackArguments.path)),
          reader(unpackArguments.path, container.get()) {}

    ExitStatus run() {
        try {
            reader.checkHeader();
            reader.restoreBody();
            fs::create_directories(arguments.folder);
            while (std::optional<SectionReader> section = reader.nextSection()) unpack(*section);
        } catch (const ContainerFault& fault) {
            if (fault.place == ContainerFault::Place::kHost) throw PatternError(fault.detail);
            throw PatternError(
                fmt::format("{}: {}: {}", arguments.path, placeOf(fault), fault.detail));
        }
        for (const auto& file : files) file->commit();
        for (const std::string& path : paths) writeOutput(printable(path) + '\n');
        flushOutput();
        return lossCount > 0 ? kSomethingFound : kNothingFound;
    }

  private:
    void unpack(SectionReader& section) {
        const uint32_t magic = section.entry().sectionMagic;
        const char* ending = endingOf(magic);
        if (ending == nullptr) {
            ++lossCount;
            complain(fmt::format("{}: section {} left out, its kind {:#010x} is unknown",
                                 arguments.path, section.number(), magic));
            return;
        }
        if (section.entry().recordCount == 0) return;
        startFile(section.number(), ending);
        while (section.next()) addLine(section);
    }

    void startFile(uint32_t number, const char* ending) {
        if (!files.empty()) files.back()->close();  // there may be more of them than can be open
        const size_t digits = std::to_string(reader.header().sectionCount).size();
        const fs::path path =
            fs::path(arguments.folder) / fmt::format("{}-{:0{}}{}",
                                                     fs::path(arguments.path).filename().string(),
                                                     number, digits, ending);
        if (!arguments.isForced && fs::exists(fs::symlink_status(path)))
            throw PatternError(fmt::format("{} exists (see --force)", path.string()));
        paths.push_back(path.string());
        files.push_back(std::make_unique<ReplacedFile>(path.string()));
    }

    void addLine(const SectionReader& section) {
        if (!isPlainLine(section.line())) {
            ++lossCount;
            complain(fmt::format(
                "{}: section {}, offset {} of the restored body: left out, a plain file cannot "
                "hold this line: {}",
                arguments.path, section.number(), section.offset(), section.line()));
            return;
        }
        files.back()->write(section.line());
        files.back()->write("\n");
    }

    const UnpackArguments& arguments;
    QLT_SPACE::FilePtr container;
    ContainerReader reader;
    std::vector<std::unique_ptr<ReplacedFile>> files;
    std::vector<std::string> paths;
    uint64_t lossCount = 0;
};

CommandAction setUp(CLI::App& parser) {
    auto arguments = std::make_shared<UnpackArguments>();
    parser.add_option("file", arguments->path, "Container pattern file, whatever its name")
        ->required()
        ->type_name("FILE");
    parser
        .add_option("-o,--output", arguments->folder, "Folder for the plain files; made if needed")
        ->required()
        ->type_name("FOLDER");
    parser.add_flag("--force", arguments->isForced, "Replace files that exist");
    parser.footer(kFooter);
    return [arguments] { return Unpacker(*arguments).run(); };
}

const Command kUnpack("unpack", "Turn a container pattern file back into plain ones", setUp);

}  // namespace

}  // namespace zvk
