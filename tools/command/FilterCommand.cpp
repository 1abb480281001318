// zvk filter: copies pages with their active elements blanked out, and scans them if asked to.

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "command/Command.h"
#include "console/Diagnostics.h"
#include "console/Output.h"
#include "console/ResultFormat.h"
#include "file/InputStream.h"
#include "run/EngineStream.h"
#include "scan/filter/MarkupFilter.h"
#include "set/ErrorLog.h"
#include "set/PatternSet.h"

namespace zvk {

namespace {

using STREAMENGINE_SPACE::MarkupFilter;

constexpr uint32_t kChunkLength = 65536;

constexpr const char* kFooter = R"(Examples:
  zvk filter page.html > harmless.html
  curl -s http://localhost/ | zvk filter --scripts
  zvk filter --scan -p sample.ndb page.html > harmless.html

Copies the files, or standard input, to standard output, one after the other. Elements are replaced
by blanks, so each copy is as long as its file. --objects replaces applet, embed, plugin and object
elements, --scripts replaces script and noscript elements. Without either option both kinds are
replaced.

With --scan each file is scanned too. Detections (FILE: NAME) and files that the engine refuses are
printed on standard error. A refused file is filtered like any other.

Exit status: 0 nothing blanked out or found, 1 something blanked out or found, 2 an error.)";

struct FilterArguments {
    std::vector<std::string> paths;
    PatternFiles patterns;
    bool objects = false;
    bool scripts = false;
    bool isScanned = false;

    uint8_t mode() const {
        if (objects == scripts) return ZVK_FILTER_OBJECTS | ZVK_FILTER_SCRIPTS;
        return objects ? ZVK_FILTER_OBJECTS : ZVK_FILTER_SCRIPTS;
    }
};

void report(std::string_view line) {
    std::fwrite(line.data(), 1, line.size(), stderr);
}

/// Scans one file while it is copied. Detections are reported after each
/// chunk, so memory does not grow with the file.
class SideScan {
  public:
    /// @throws zvkengine::Error
    SideScan(StreamSource& source, const std::string& filePath)
        : path(filePath), stream(source.open(findings)) {}

    /// @throws zvkengine::Error
    void scanChunk(std::string_view chunk) {
        if (stream->isRefused()) return;
        stream->scanChunk(chunk);
        reportFindings();
    }
    /// @throws zvkengine::Error if the end call fails
    /// @throws std::runtime_error if the engine has logged an error
    void end() {
        stream->end();
        reportFindings();
        if (stream->isRefused()) report(format->refused(path));
        if (log.others().count > 0) {
            throw std::runtime_error("error of the engine: " + log.others().latest());
        }
    }
    bool hasFound() const { return found; }

  private:
    void reportFindings() {
        for (const Finding& finding : findings) {
            const std::string line = format->detection(path, finding.name);
            for (uint64_t i = 0; i < finding.count; ++i) report(line);
            found = true;
        }
        findings.clear();
    }

    const std::string path;
    const std::unique_ptr<ResultFormat> format = makeTextFormat();
    const ErrorLog log{1};
    std::vector<Finding> findings;  // not reported yet
    std::unique_ptr<ChunkStream> stream;
    bool found = false;
};

/// Writes the filtered copy of a file.
/// @param source  opens a stream to scan the file too; null to filter only
/// @return whether something was blanked out or found
/// @throws OutputError if the copy cannot be written
/// @throws std::runtime_error if the file cannot be read to its end, or the engine failed
bool filterFile(const std::string& path, uint8_t mode, StreamSource* source) {
    InputStream file({path, true, {}});
    std::optional<SideScan> scan;
    if (source != nullptr) scan.emplace(*source, path);
    MarkupFilter filter{QLT_SPACE::chooseVectorUnit()};
    std::vector<char> chunk(kChunkLength);
    std::vector<char> copy(kChunkLength + MarkupFilter::kMostHeld);
    const auto write = [&](uint32_t length) { writeOutput({copy.data(), length}); };
    bool isAtEnd = false;
    while (!isAtEnd) {
        const size_t length = file.read(chunk.data(), chunk.size());
        isAtEnd = length < chunk.size();
        if (scan) scan->scanChunk({chunk.data(), length});
        write(
            filter.getBufferFilter(chunk.data(), static_cast<uint32_t>(length), copy.data(), mode));
    }
    write(filter.getTagBufferFilter(copy.data()));
    flushOutput();
    if (scan) scan->end();
    if (const std::string failure = file.failure(); !failure.empty()) {
        throw std::runtime_error(failure);
    }
    return filter.hasChanged() || (scan && scan->hasFound());
}

ExitStatus run(const FilterArguments& arguments) {
    std::optional<PatternSet> patterns;
    std::optional<EngineStreams> source;
    if (arguments.isScanned) {
        patterns.emplace(arguments.patterns);
        patterns->complainAboutLosses();
        source.emplace(false);
    }
    ExitStatus status = kNothingFound;
    for (const std::string& path : arguments.paths) {
        try {
            const bool isChanged = filterFile(path, arguments.mode(), source ? &*source : nullptr);
            status = std::max(status, isChanged ? kSomethingFound : kNothingFound);
        } catch (const OutputError&) {
            throw;  // no other file can be written either
        } catch (const std::exception& error) {
            complain(fmt::format("{}: {}", path, error.what()));
            status = kFailed;
        }
    }
    return status;
}

CommandAction setUp(CLI::App& parser) {
    auto arguments = std::make_shared<FilterArguments>();
    parser.add_flag("--objects", arguments->objects,
                    "Blank out applet, embed, plugin and object elements");
    parser.add_flag("--scripts", arguments->scripts, "Blank out script and noscript elements");
    auto* scan = parser.add_flag("--scan", arguments->isScanned, "Search for signatures too");
    auto* patterns = arguments->patterns.addTo(parser)->required(false)->needs(scan);
    scan->needs(patterns);
    parser.add_option("paths", arguments->paths, "Files, or - for standard input (the default)")
        ->type_name("PATH");
    parser.footer(kFooter);
    return [arguments] {
        if (arguments->paths.empty()) arguments->paths.emplace_back(kStandardInput);
        return run(*arguments);
    };
}

const Command kFilter("filter", "Copy files with scripts and embedded objects blanked out", setUp);

}  // namespace

}  // namespace zvk
