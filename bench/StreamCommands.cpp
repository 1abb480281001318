// engine_bench small, streams, threads: what a short stream costs, what an open stream holds, and
// what several threads do at once.
//
// small    microseconds of CPU for begin, one chunk of 300 bytes, end; less is better
// streams  bytes resident for each open stream that was fed 20 KiB; less is better
// threads  raw bytes of all threads together a second of wall-clock time, in units of 1,000,000;
//          two threads should reach twice the rate of one, where each has a core for itself
#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <thread>

#include "Commands.h"
#include "EngineHost.h"
#include "Measure.h"
#include "Report.h"
#include "SignatureSet.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr size_t kSmallLength = 300;

Pages scannedPages(const BenchOptions& options) {
    Pages pages = samplePages(options.corpus, options.megabytes, kSeed);
    dropRefused(pages);
    return pages;
}

/// @return microseconds of CPU of a stream: begin, one chunk, end
double smallStreamMicroseconds(const LoadRequest& request, const Pages& pages, int rounds) {
    constexpr size_t kStreams = 20000;
    const LoadedSet set(request);
    EngineInstance instance;
    std::vector<double> seconds;
    seconds.reserve(static_cast<size_t>(rounds));
    for (int round = 0; round < rounds; ++round) {
        seconds.push_back(secondsOf([&] {
            for (size_t i = 0; i < kStreams; ++i) instance.scanPage(pages[i % pages.size()]);
        }));
    }
    return median(seconds) / kStreams * 1e6;
}

void small(const BenchOptions& options) {
    Pages pages = scannedPages(options);
    std::erase_if(pages, [](const std::string& page) { return page.size() < kSmallLength; });
    for (std::string& page : pages) page.resize(kSmallLength);
    fmt::print("microseconds of CPU for begin, {} bytes, end\n{:7} {:>7} {:>8} {:>8} {:>8}\n",
               kSmallLength, "set", "size", "engine", "-md5", "plain");
    Json rows = Json::array();
    for (const std::string& kind : options.kinds) {
        for (const size_t size : options.sizes) {
            const std::string file = options.setFile(kind, size);
            const auto with = [&](const std::string& kernel, const std::string& update) {
                return smallStreamMicroseconds({kernel, file + ".ndb", update}, pages,
                                               options.rounds);
            };
            const double all = with("", file + ".hdb"), body = with("", ""),
                         plain = with("plain", file + ".hdb");
            fmt::print("{:7} {:7} {:8.2f} {:8.2f} {:8.2f}\n", kind, size, all, body, plain);
            rows.push_back({{"kind", kind},
                            {"signatures", size},
                            {"engine_microseconds", rounded(all)},
                            {"engine_without_md5_microseconds", rounded(body)},
                            {"plain_microseconds", rounded(plain)}});
        }
    }
    putSection(options.json, "small_streams", rows);
}

constexpr size_t kLongestSignature = 1024;

/// Writes a thousand signatures, the longest of kLongestSignature bytes.
/// @return the path
std::string writeSetForStreams(const BenchOptions& options) {
    ScriptSource source;
    std::vector<Signature> signatures = bodySignatures(source, 999, kSeed);
    signatures.push_back(
        {"Longest", {literalPart(Random(kSeed).text("0123456789abcdef", kLongestSignature))}});
    std::string file = (options.sets / "streams.ndb").string();
    writeText(file, linesOf(signatures));
    return file;
}

/// Opens streams until there are so many, and feeds each new one 20 KiB in chunks of 4 KiB. They
/// stay open.
void openStreams(std::vector<std::unique_ptr<EngineInstance>>& streams, size_t count,
                 const std::string& page) {
    constexpr size_t kChunk = 4096, kFed = 5 * kChunk;
    while (streams.size() < count) {
        streams.push_back(std::make_unique<EngineInstance>());
        streams.back()->begin();
        for (size_t i = 0; i < kFed; i += kChunk) streams.back()->feed({&page[i], kChunk});
    }
}

void streams(const BenchOptions& options, size_t count) {
    constexpr size_t kProbe = 1000;
    const Pages pages = scannedPages(options);
    const auto page = std::find_if(pages.begin(), pages.end(),
                                   [](const std::string& text) { return text.size() >= 20480; });
    if (page == pages.end()) throw std::runtime_error("no page is long enough");
    const LoadedSet set({"", writeSetForStreams(options)});
    std::vector<std::unique_ptr<EngineInstance>> open;
    open.reserve(count);
    openStreams(open, kProbe, *page);  // this also allocates what is allocated only once
    const size_t before = residentBytes();
    openStreams(open, 2 * kProbe, *page);
    const size_t probed = (residentBytes() - before) / kProbe + 1;
    // Half of the free memory: others may use the machine too.
    const size_t fit = std::min(count, availableBytes() / 2 / probed);
    openStreams(open, std::max(fit, 2 * kProbe), *page);
    const auto more = static_cast<double>(open.size() - kProbe);
    const double each = static_cast<double>(residentBytes() - before) / more;
    // The object that this program keeps for a stream is not the engine's.
    const double engines = each - sizeof(EngineInstance) - 16;
    fmt::print("{} streams open, {:.0f} bytes resident each, {:.0f} above {} + 2048\n", open.size(),
               engines, engines - kLongestSignature - 2048, kLongestSignature);
    putSection(options.json, "open_streams",
               {{"streams", open.size()},
                {"longest_signature", kLongestSignature},
                {"resident_bytes_each", rounded(engines)}});
}

/// @return MB per second of wall-clock time of all threads together
double rateOfThreads(size_t count, const Pages& pages) {
    std::vector<std::thread> threads;
    const auto start = std::chrono::steady_clock::now();
    for (size_t i = 0; i < count; ++i) {
        threads.emplace_back([&pages] {
            EngineInstance instance;
            instance.scanPages(pages);
        });
    }
    for (std::thread& thread : threads) thread.join();
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    return static_cast<double>(count * totalBytes(pages)) / 1e6 / taken.count();
}

void threads(const BenchOptions& options, size_t most) {
    const Pages pages = scannedPages(options);
    const std::string file = options.setFile("mixed", options.sizes.back());
    const LoadedSet set({"", file + ".ndb", file + ".hdb"});
    Json rows = Json::array();
    for (size_t count = 1; count <= most; ++count) {
        std::vector<double> rates;
        rates.reserve(static_cast<size_t>(options.rounds));
        for (int round = 0; round < options.rounds; ++round) {
            rates.push_back(rateOfThreads(count, pages));
        }
        fmt::print("{} threads: {:.1f} MB/s\n", count, median(rates));
        rows.push_back({{"threads", count}, {"megabytes_per_second", rounded(median(rates))}});
    }
    putSection(options.json, "threads",
               {{"kind", "mixed"}, {"signatures", options.sizes.back()}, {"rows", rows}});
}

}  // namespace

void addSmallCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand("small", "streams of 300 bytes");
    const auto options = std::make_shared<BenchOptions>();
    options->addCorpus(*command);
    options->addSets(*command);
    options->addRounds(*command);
    options->addJson(*command);
    command->callback([options] { small(*options); });
}

void addStreamsCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand("streams", "memory of open streams");
    const auto options = std::make_shared<BenchOptions>();
    const auto count = std::make_shared<size_t>(1000000);
    options->megabytes = 1;
    options->addCorpus(*command);
    options->addJson(*command);
    command->add_option("--sets", options->sets, "folder for the set")->required();
    command->add_option("--count", *count, "at most, fewer if memory is short")
        ->capture_default_str();
    command->callback([options, count] { streams(*options, *count); });
}

void addThreadsCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand("threads", "several threads at once");
    const auto options = std::make_shared<BenchOptions>();
    const auto most = std::make_shared<size_t>(std::max(1U, std::thread::hardware_concurrency()));
    options->addCorpus(*command);
    options->addSets(*command);
    options->addRounds(*command);
    options->addJson(*command);
    command->add_option("--most", *most, "threads")->capture_default_str();
    command->callback([options, most] { threads(*options, *most); });
}
