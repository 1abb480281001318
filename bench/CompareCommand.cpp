// engine_bench compare: the engine, its plain form and the peer on the same pages and sets.
//
// The contenders take turns within a round, so that what slows the machine down meets all of them;
// each gets the median of its rounds, as raw bytes of the pages per CPU second. The peer on raw
// bytes does less than the engine, on normalised ones about the same.
#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <numeric>
#include <optional>
#include <set>
#include <stdexcept>

#include "Commands.h"
#include "EngineHost.h"
#include "HyperscanPeer.h"
#include "Measure.h"
#include "Report.h"
#include "SignatureSet.h"

namespace {

using Json = nlohmann::ordered_json;

/// One way to scan all pages.
struct Contender {
    std::string name;
    std::function<double()> run;  // returns CPU seconds of scanning alone
    std::vector<double> seconds = {};

    /// A slow one has fewer rounds; their seconds vary less, too.
    bool isTired() const {
        constexpr double kMostSeconds = 60;
        return std::accumulate(seconds.begin(), seconds.end(), 0.0) > kMostSeconds;
    }
};

/// What the forms of the engine tell must be the same, detection by detection.
class Agreement {
  public:
    void hold(const std::string& name, Detections told) {
        if (!first) {
            first = {name, std::move(told)};
            return;
        }
        if (told == first->second) return;
        const auto apart =
            std::mismatch(told.begin(), told.end(), first->second.begin(), first->second.end());
        throw std::runtime_error(fmt::format(
            "\"{}\" and \"{}\" tell {} and {} detections, and differ from detection {} on", name,
            first->first, told.size(), first->second.size(), apart.first - told.begin()));
    }
    const Detections& told() const { return first->second; }

  private:
    std::optional<std::pair<std::string, Detections>> first;
};

double scanWith(const LoadRequest& request, size_t signatures, const Pages& pages,
                Detections& told) {
    const LoadedSet set(request);
    if (LoadedSet::signatureCount() != signatures) {
        throw std::runtime_error(fmt::format("{} signatures of {} in {} are loaded",
                                             LoadedSet::signatureCount(), signatures,
                                             request.base));
    }
    EngineInstance instance;
    const double seconds = secondsOf([&] { instance.scanPages(pages); });
    told = std::move(instance.detections);
    return seconds;
}

/// Puts a signature behind every twentieth page: there has to be something to tell.
/// @return how many
size_t plant(Pages& pages, const std::vector<Signature>& signatures) {
    constexpr size_t kEvery = 20;
    Random random(kSeed);
    size_t count = 0;
    for (size_t i = 0; i < pages.size(); i += kEvery, ++count) {
        // A page may end within an element or a comment.
        pages[i] += "--></script><script>" + textOf(random.pick(signatures)) + "</script>\n";
    }
    return count;
}

/// All contenders on one set.
class Comparison {
  public:
    Comparison(const BenchOptions& options, const std::string& setKind, size_t setSize,
               const Pages& cleanPages)
        : kind(setKind),
          size(setSize),
          file(options.setFile(kind, size)),
          signatures(readLines(file + ".ndb")),
          pages(cleanPages),
          planted(plant(pages, signatures)) {
        addEngine("engine", "", true);
        addEngine("engine_without_md5", "", false);
        addEngine("plain", "plain", true);
        addEngine("plain_without_md5", "plain", false);
        addPeer(options.cache);
    }

    void run(int rounds) {
        for (int round = 0; round < rounds; ++round) {
            for (Contender& contender : contenders) {
                if (contender.isTired()) continue;
                contender.seconds.push_back(contender.run());
            }
        }
    }

    double rate(const std::string& name) const {
        for (const Contender& contender : contenders) {
            if (contender.name != name) continue;
            return static_cast<double>(totalBytes(pages)) / 1e6 / median(contender.seconds);
        }
        return 0;
    }
    /// @return the engine's rate in terms of another contender's, 0 if that did not run
    double ratio(const std::string& name) const {
        return rate(name) > 0 ? rate("engine") / rate(name) : 0;
    }

    Json toJson() const {
        Json rates, ratios;
        for (const auto& [name, run, seconds] : contenders) {
            rates[name] = rounded(rate(name));
            if (!name.starts_with("engine")) ratios[name] = rounded(ratio(name));
        }
        Json row = {{"kind", kind},
                    {"signatures", size},
                    {"megabytes_per_cpu_second", rates},
                    {"engine_in_terms_of", ratios},
                    {"planted", planted},
                    {"detections", agreement.told().size()}};
        if (peer != nullptr) row["pages_on_which_peer_differs"] = pagesApart();
        return row;
    }

    /// The row's cells with their headings.
    std::vector<std::pair<std::string, std::string>> cells() const {
        const auto rateCell = [this](const std::string& name) {
            return fmt::format("{:.{}f}", rate(name), rate(name) < 10 ? 3 : 1);
        };
        const auto ratioCell = [this](const std::string& name) {
            return fmt::format("{:.2f}", ratio(name));
        };
        return {{"set", kind},
                {"size", std::to_string(size)},
                {"engine", rateCell("engine")},
                {"-md5", rateCell("engine_without_md5")},
                {"plain", rateCell("plain")},
                {"-md5", rateCell("plain_without_md5")},
                {"hs same", rateCell("hyperscan_same_work")},
                {"hs raw", rateCell("hyperscan_raw")},
                {"/plain", ratioCell("plain")},
                {"/hs same", ratioCell("hyperscan_same_work")},
                {"/hs raw", ratioCell("hyperscan_raw")},
                {"planted", std::to_string(planted)},
                {"found", std::to_string(agreement.told().size())},
                {"apart", peer != nullptr ? std::to_string(pagesApart()) : "-"}};
    }

  private:
    void addEngine(const std::string& name, const std::string& kernel, bool withDigests) {
        const LoadRequest request = {kernel, file + ".ndb", withDigests ? file + ".hdb" : ""};
        contenders.push_back({name, [this, name, request, withDigests] {
                                  Detections told;
                                  const double seconds =
                                      scanWith(request, withDigests ? 2 * size : size, pages, told);
                                  agreement.hold(name, std::move(told));
                                  return seconds;
                              }});
    }

    void addPeer(const std::filesystem::path& cache) {
        peer = makeHyperscanPeer(signatures, cache);
        if (peer == nullptr) return;
        contenders.push_back({"hyperscan_raw", [this] {
                                  return secondsOf([&] { peer->scanPages(pages, PeerWork::Raw); });
                              }});
        contenders.push_back(
            {"hyperscan_same_work",
             [this] { return secondsOf([&] { peer->scanPages(pages, PeerWork::Normalised); }); }});
    }

    /// On how many pages the peer's last scan, of normalised bytes, tells other names.
    size_t pagesApart() const {
        std::map<size_t, std::set<std::string>> ours, theirs;
        for (const auto& [page, name] : agreement.told()) ours[page].insert(name);
        for (const auto& [page, id] : peer->found) theirs[page].insert(signatures[id].name);
        std::set<size_t> told;
        for (const auto& [page, names] : ours) told.insert(page);
        for (const auto& [page, names] : theirs) told.insert(page);
        return static_cast<size_t>(std::count_if(
            told.begin(), told.end(), [&](size_t page) { return ours[page] != theirs[page]; }));
    }

    std::string kind;
    size_t size;
    std::string file;
    std::vector<Signature> signatures;
    Pages pages;
    size_t planted;
    std::unique_ptr<HyperscanPeer> peer;
    std::vector<Contender> contenders;
    Agreement agreement;
};

void printRow(const std::vector<std::pair<std::string, std::string>>& cells, bool withHeadings) {
    constexpr int kWidth = 9;
    for (const auto& [heading, cell] : cells) {
        if (withHeadings) fmt::print("{:>{}}", heading, kWidth);
    }
    if (withHeadings) fmt::print("\n");
    for (const auto& [heading, cell] : cells) fmt::print("{:>{}}", cell, kWidth);
    fmt::print("\n");
    std::fflush(stdout);
}

Pages readPages(const BenchOptions& options) {
    Pages pages = samplePages(options.corpus, options.megabytes, kSeed);
    const size_t refused = dropRefused(pages);
    fmt::print("{} pages, {:.1f} MB, {} refused pages left out\n", pages.size(),
               static_cast<double>(totalBytes(pages)) / 1e6, refused);
    if (const size_t apart = countNormalisedApart(pages); apart != 0) {
        throw std::runtime_error(
            fmt::format("the peer would scan something else: {} pages normalised apart", apart));
    }
    return pages;
}

void compare(const BenchOptions& options) {
    const Pages pages = readPages(options);
    const bool hasPeer =
        makeHyperscanPeer({parseLine("Probe:0:*:70726f6265")}, options.cache) != nullptr;
    fmt::print("MB per CPU second in chunks of {} bytes, medians of {} rounds{}\n", kChunkLength,
               options.rounds, hasPeer ? "" : "; built without libhyperscan: no rows for it");
    Json rows = Json::array();
    for (const std::string& kind : kSetKinds) {
        for (const size_t size : options.sizes) {
            Comparison comparison(options, kind, size, pages);
            comparison.run(options.rounds);
            printRow(comparison.cells(), rows.empty());
            rows.push_back(comparison.toJson());
        }
    }
    fmt::print(
        "\"planted\": signatures put into the pages. \"found\": detections, told alike by all "
        "forms of the engine. \"apart\": pages of "
        "which\nlibhyperscan tells other names: it tells all matches that overlap, and takes "
        "any\noccurrence of a part where the engine takes the first.\n");
    putSection(options.json, "compare",
               {{"pages", pages.size()},
                {"bytes", totalBytes(pages)},
                {"chunk", kChunkLength},
                {"rounds", options.rounds},
                {"rows", rows}});
}

}  // namespace

void addCompareCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand("compare", "against the plain form and libhyperscan");
    const auto options = std::make_shared<BenchOptions>();
    options->addCorpus(*command);
    options->addSets(*command);
    options->addRounds(*command);
    options->addJson(*command);
    command->add_option("--cache", options->cache, "folder for compiled databases")->required();
    command->callback([options] { compare(*options); });
}
