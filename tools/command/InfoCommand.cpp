// zvk info: prints what is known about the engine and a pattern set, and each refused line.

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <ctime>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "command/Command.h"
#include "console/Diagnostics.h"
#include "console/JsonLine.h"
#include "console/Output.h"
#include "set/PatternFileCheck.h"
#include "set/PatternSet.h"
#include "support/VectorUnit.h"
#include "zvkengine.h"

namespace zvk {

namespace {

constexpr const char* kFooter = R"(Examples:
  zvk info -p sample.ndb
  zvk info -p base.ndb -u update.ndb --json

Prints
- the engine's build time and version,
- the kernel: which vector instructions the engine uses on this machine. The environment variable
  ZVK_KERNEL chooses another one: plain, baseline, avx2 or avx512,
- the version of the set and its number of signatures,
- for each file, how many lines were read and how many were refused,
- for each refused line, FILE:LINE: reason. If the reason itself has a line number, ignore that: it
  counts only the lines that were accepted before,
- for each file, the signatures that make scanning slow: those with a part that has no four fixed bytes
  in a row, as "aa??b??c".

Exit status: 0 all lines were accepted, 1 some were refused, 2 an error.)";

struct InfoArguments {
    PatternFiles patterns;
    bool isJson = false;
};

struct SetFacts {
    _ZVKEngineInfo engine{};
    const char* kernel = QLT_SPACE::vectorUnitName(QLT_SPACE::chooseVectorUnit());
    _ZVKPatternInfo patterns{};
    std::vector<PatternFileCheck> files;

    bool hasRefusedLines() const {
        for (const PatternFileCheck& file : files) {
            if (!file.refused.empty()) return true;
        }
        return false;
    }
};

SetFacts gather(const PatternFiles& patterns) {
    SetFacts facts;
    getEngineInfo(&facts.engine);
    facts.patterns = PatternSet(patterns).info();
    facts.files.push_back(checkPatternFile(patterns.base));
    if (!patterns.update.empty()) facts.files.push_back(checkPatternFile(patterns.update));
    return facts;
}

// The version is the time at which the newest container file was built.
std::string versionText(uint32_t version) {
    if (version == 0) return "0 (no container file)";
    return fmt::format("{} ({:%Y-%m-%d %H:%M:%S} UTC)", version,
                       fmt::gmtime(static_cast<std::time_t>(version)));
}

std::string slowText(const std::vector<std::string>& names) {
    constexpr size_t kShown = 5;
    const auto shown = std::span(names).first(std::min(kShown, names.size()));
    const std::string more =
        names.size() > kShown ? fmt::format(" and {} more", names.size() - kShown) : "";
    return fmt::format(
        "warning: {} without four fixed bytes in a row, which slows scanning: {}{}",
        names.size() == 1 ? "1 signature" : fmt::format("{} signatures", names.size()),
        printable(fmt::format("{}", fmt::join(shown, ", "))), more);
}

void writeText(const SetFacts& facts) {
    writeOutput(
        fmt::format("{}\n{}\nKernel           : {}\nPattern version  : {}\n"
                    "Pattern count    : {}\n",
                    facts.engine.buildTime, facts.engine.engineVersion, facts.kernel,
                    versionText(facts.patterns.patternVersion), facts.patterns.patternCount));
    for (const PatternFileCheck& file : facts.files) {
        const std::string path = printable(file.path);
        writeOutput(
            fmt::format("{}: {} read, {} refused\n", path, file.readCount, file.refused.size()));
        for (const RefusedLine& line : file.refused) {
            const std::string number = line.number > 0 ? fmt::format("{}:", line.number) : "";
            writeOutput(fmt::format("{}:{} {}\n", path, number, printable(line.reason)));
        }
        if (!file.slow.empty()) writeOutput(fmt::format("{}: {}\n", path, slowText(file.slow)));
    }
}

void writeJson(const SetFacts& facts) {
    writeOutput(jsonLine({{"type", "info"},
                          {"buildTime", facts.engine.buildTime},
                          {"engineVersion", facts.engine.engineVersion},
                          {"kernel", facts.kernel},
                          {"patternVersion", facts.patterns.patternVersion},
                          {"patternCount", facts.patterns.patternCount}}));
    for (const PatternFileCheck& file : facts.files) {
        writeOutput(jsonLine({{"type", "file"},
                              {"path", file.path},
                              {"read", file.readCount},
                              {"refused", file.refused.size()}}));
        for (const RefusedLine& line : file.refused) {
            nlohmann::ordered_json object{{"type", "refusedLine"}, {"path", file.path}};
            if (line.number > 0) object["line"] = line.number;
            object["reason"] = line.reason;
            writeOutput(jsonLine(object));
        }
        if (!file.slow.empty()) {
            writeOutput(
                jsonLine({{"type", "slowSignatures"}, {"path", file.path}, {"names", file.slow}}));
        }
    }
}

CommandAction setUp(CLI::App& parser) {
    auto arguments = std::make_shared<InfoArguments>();
    arguments->patterns.addTo(parser);
    parser.add_flag("--json", arguments->isJson,
                    "Print one JSON object on each line instead of text");
    parser.footer(kFooter);
    return [arguments] {
        const SetFacts facts = gather(arguments->patterns);
        arguments->isJson ? writeJson(facts) : writeText(facts);
        flushOutput();
        return facts.hasRefusedLines() ? kSomethingFound : kNothingFound;
    };
}

const Command kInfo("info", "Print facts about the engine and a pattern set", setUp);

}  // namespace

}  // namespace zvk
