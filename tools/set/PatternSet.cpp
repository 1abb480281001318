#include "set/PatternSet.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string_view>

#include "console/Diagnostics.h"
#include "console/StdoutSilencer.h"
#include "set/ErrorLog.h"
#include "set/PatternFile.h"

namespace zvk {

namespace {

constexpr size_t kKeptLogLines = 1000;
constexpr std::string_view kUnknownFile = "Unknown VQEngine pattern file:";

// To the engine a file of an unknown name is not a failure: it loads nothing from it and goes on.
void checkNamesKnown(const ErrorLog& log, const std::string& fileNames) {
    const auto& lines = log.others().last;
    const bool isKnown = std::none_of(lines.begin(), lines.end(), [](const std::string& line) {
        return line.starts_with(kUnknownFile);
    });
    if (isKnown) return;
    throw PatternError(
        fmt::format("cannot load {}: the name of a pattern file ends in .db, .ndb or .hdb, or, for "
                    "a container, "
                    "has no dot at all",
                    fileNames));
}

// The last line says that the load failed. Lines before it, if any, say what is wrong with a file.
std::string failureReason(const ErrorLog& log) {
    const auto& lines = log.others().last;
    const auto first = lines.size() > 3 ? lines.end() - 3 : lines.begin();
    return lines.empty() ? "the engine gave no reason"
                         : fmt::format("{}", fmt::join(first, lines.end(), "; "));
}

}  // namespace

CLI::Option* PatternFiles::addTo(CLI::App& parser) {
    auto* const patterns =
        parser
            .add_option("-p,--patterns", base,
                        "Pattern file: .db, .ndb, .hdb, or a container (a name without a dot)")
            ->required()
            ->type_name("FILE");
    parser.add_option("-u,--update", update, "Second pattern file, loaded into the same set")
        ->type_name("FILE")
        ->needs(patterns);
    return patterns;
}

PatternSet::PatternSet(const PatternFiles& patternFiles) : fileNames(patternFiles.base) {
    openPatternFile(patternFiles.base);
    if (!patternFiles.update.empty()) {
        openPatternFile(patternFiles.update);
        fileNames += " with " + patternFiles.update;
    }
    ErrorLog::install();
    ErrorLog log(kKeptLogLines);
    try {
        const StdoutSilencer silencer;
        set.load(patternFiles.base, patternFiles.update);
    } catch (const zvkengine::Error&) {
        throw PatternError(fmt::format("cannot load {}: {}", fileNames, failureReason(log)));
    }
    checkNamesKnown(log, fileNames);
    patternInfo = zvkengine::Set::info();
    refusedLineCount = log.refused().count;
    otherLossCount = log.others().count;
    lastOtherLoss = log.others().latest();
}

void PatternSet::complainAboutLosses() const {
    if (refusedLineCount > 0) {
        complain(fmt::format("{}: {} {} refused (see 'zvk info')", fileNames, refusedLineCount,
                             refusedLineCount == 1 ? "line" : "lines"));
    }
    if (otherLossCount > 0) {
        complain(fmt::format("{}: {} {} from the loader, the last: {} (see 'zvk info')", fileNames,
                             otherLossCount, otherLossCount == 1 ? "error" : "errors",
                             lastOtherLoss));
    }
    if (patternInfo.patternCount == 0) {
        complain(fmt::format("{}: holds no signature, nothing will be found", fileNames));
    }
}

}  // namespace zvk
