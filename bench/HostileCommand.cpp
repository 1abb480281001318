// engine_bench hostile: text that is made to be slow, against ordinary pages with the same set.
//
// Measured: raw bytes a CPU second of both, in units of 1,000,000, and their ratio: 0.2 says that
// hostile text takes five times as long as ordinary pages. "4x the length" is the time a byte takes
// in streams four times as long, divided by that in short ones: 1 says that time grows with the
// length and not faster.
#include <fmt/format.h>

#include <memory>

#include "Commands.h"
#include "EngineHost.h"
#include "HostileCase.h"
#include "Measure.h"
#include "Report.h"
#include "SignatureSet.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr size_t kTextLength = 131072;
constexpr size_t kLong = 4;  // texts of a long stream

struct HostileResult {
    double hostileRate, ordinaryRate;  // MB per CPU second
    double growth;  // CPU seconds of long streams divided by those of short ones, same bytes
    size_t detections;
};

class HostileRun {
  public:
    HostileRun(const HostileCase& hostile, const Pages& ordinaryPages)
        : shortPages(hostile.pages(1)), longPages(hostile.pages(kLong)), ordinary(ordinaryPages) {}

    HostileResult with(const LoadRequest& request, int rounds) {
        const LoadedSet set(request);
        std::vector<double> onShort, onLong, onOrdinary;
        for (int round = 0; round < rounds; ++round) {
            onShort.push_back(secondsOf([&] { instance.scanPages(shortPages); }));
            onLong.push_back(secondsOf([&] { instance.scanPages(longPages); }));
            detections = instance.detections.size();
            onOrdinary.push_back(secondsOf([&] { instance.scanPages(ordinary); }));
        }
        return {rate(shortPages, onShort), rate(ordinary, onOrdinary),
                median(onLong) / median(onShort), detections};
    }

  private:
    static double rate(const Pages& pages, const std::vector<double>& seconds) {
        return static_cast<double>(totalBytes(pages)) / 1e6 / median(seconds);
    }

    Pages shortPages, longPages;
    const Pages& ordinary;
    EngineInstance instance;
    size_t detections = 0;
};

/// Prints a row of the table.
/// @return the same for the JSON file
Json reportRow(const std::string& text, const std::string& form, const HostileResult& result) {
    const double ratio = result.hostileRate / result.ordinaryRate;
    fmt::print("{:20} {:8} {:8.2f} {:9.2f} {:7.3f} {:8.2f} a byte {:6}\n", text, form,
               result.hostileRate, result.ordinaryRate, ratio, result.growth, result.detections);
    std::fflush(stdout);
    return {{"text", text},
            {"form", form},
            {"hostile_megabytes_per_cpu_second", rounded(result.hostileRate)},
            {"ordinary_megabytes_per_cpu_second", rounded(result.ordinaryRate)},
            {"hostile_in_terms_of_ordinary", rounded(ratio)},
            {"time_per_byte_of_streams_4_times_as_long", rounded(result.growth)},
            {"detections", result.detections}};
}

void hostile(const BenchOptions& options, size_t signatures) {
    Pages ordinary = samplePages(options.corpus, options.megabytes, kSeed);
    dropRefused(ordinary);
    const size_t texts =
        std::max<size_t>(1, static_cast<size_t>(options.megabytes * 1e6) / (kTextLength * kLong));
    fmt::print(
        "{} signatures, MB per CPU second, medians of {} rounds\n{:20} {:8} {:>8} {:>9} "
        "{:>7} {:>15} {:>6}\n",
        signatures, options.rounds, "hostile text", "form", "hostile", "ordinary", "ratio",
        "4x the length", "found");
    Json rows = Json::array();
    for (const HostileCase& made :
         hostileCases(ordinary, signatures, texts * kLong, kTextLength, kSeed)) {
        const std::string file = (options.sets / ("hostile-" + made.name + ".ndb")).string();
        writeText(file, linesOf(made.signatures));
        HostileRun run(made, ordinary);
        for (const std::string kernel : {"", "plain"}) {
            // The plain form is slow here; one round of it is enough for a contrast.
            const int rounds = kernel.empty() ? options.rounds : 1;
            const HostileResult result = run.with({kernel, file}, rounds);
            rows.push_back(reportRow(made.name, kernel.empty() ? "engine" : kernel, result));
        }
    }
    putSection(options.json, "hostile", {{"signatures", signatures}, {"rows", rows}});
}

}  // namespace

void addHostileCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand("hostile", "text that is made to be slow");
    const auto options = std::make_shared<BenchOptions>();
    const auto signatures = std::make_shared<size_t>(10000);
    options->megabytes = 2;
    options->rounds = 3;
    options->addCorpus(*command);
    options->addRounds(*command);
    options->addJson(*command);
    command->add_option("--sets", options->sets, "folder for the sets")->required();
    command->add_option("--signatures", *signatures, "of each set")->capture_default_str();
    command->callback([options, signatures] { hostile(*options, *signatures); });
}
