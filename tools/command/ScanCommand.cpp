// zvk scan: scans files, folders and standard input for the signatures of a pattern set.

#include <CLI/CLI.hpp>
#include <memory>

#include "command/Command.h"
#include "run/EngineStream.h"
#include "run/ScanRun.h"
#include "set/PatternSet.h"

namespace zvk {

namespace {

constexpr int kLongestChunk = 1 << 30;

constexpr const char* kFooter = R"(Examples:
  zvk scan -p sample.ndb page.html
  zvk scan -p base.ndb -u update.ndb --jobs 4 --verbose /srv/www
  zvk scan -p sample.db --json --first pages > results.jsonl
  curl -s http://localhost/ | zvk scan -p sample.ndb -

Prints a line for each detection (PATH: NAME), then a summary. Folders are scanned with all folders
inside them; symbolic links and special files are skipped. The engine gets each file as one stream.
It refuses files that are not markup; this is not an error.

Exit status: 0 nothing found, 1 something found, 2 an error (also if something was found).)";

struct ScanArguments {
    PatternFiles patterns;
    RunOptions run;
    bool firstOnly = false;
};

ExitStatus run(const ScanArguments& arguments) {
    const PatternSet patterns(arguments.patterns);
    patterns.complainAboutLosses();
    return runScan(arguments.run,
                   [&] { return std::make_unique<EngineStreams>(arguments.firstOnly); });
}

CommandAction setUp(CLI::App& parser) {
    auto arguments = std::make_shared<ScanArguments>();
    RunOptions& options = arguments->run;
    arguments->patterns.addTo(parser);
    options.addTo(parser);
    parser.add_option("--chunk", options.chunkLength, "Bytes that the engine gets at a time")
        ->check(CLI::Range(1, kLongestChunk))
        ->type_name("BYTES")
        ->capture_default_str();
    auto* all =
        parser.add_flag("--all")->description("Find all detections of a file (the default)");
    parser.add_flag("--first", arguments->firstOnly, "Stop after the first detection in a file")
        ->excludes(all);
    parser.add_flag("-v,--verbose", options.isVerbose, "Print a line for each refused file too");
    parser.footer(kFooter);
    return [arguments] { return run(*arguments); };
}

const Command kScan("scan", "Scan files, folders or standard input", setUp);

}  // namespace

}  // namespace zvk
