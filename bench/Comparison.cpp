#include "Comparison.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <numeric>
#include <set>
#include <stdexcept>

#include "Measure.h"
#include "SignatureSet.h"

namespace {

/// Appends a signature to every twentieth page, so that there is something to find.
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

/// Loads a set and scans all pages.
/// @return CPU seconds of scanning, and what was reported
std::pair<double, Detections> scanWith(const LoadRequest& request, size_t signatures,
                                       const Pages& pages) {
    const LoadedSet set(request);
    if (LoadedSet::signatureCount() != signatures) {
        throw std::runtime_error(fmt::format("{} signatures of {} in {} are loaded",
                                             LoadedSet::signatureCount(), signatures,
                                             request.base));
    }
    EngineInstance instance;
    const double seconds = secondsOf([&] { instance.scanPages(pages); });
    return {seconds, std::move(instance.detections)};
}

}  // namespace

bool Contender::hasRunLong() const {
    constexpr double kMostSeconds = 60;
    return std::accumulate(seconds.begin(), seconds.end(), 0.0) > kMostSeconds;
}

void Agreement::check(const std::string& name, Detections reported) {
    if (!first) {
        first = {name, std::move(reported)};
        return;
    }
    const auto& [firstName, expected] = *first;
    if (reported == expected) return;
    const auto apart =
        std::mismatch(reported.begin(), reported.end(), expected.begin(), expected.end());
    throw std::runtime_error(fmt::format(
        "\"{}\" and \"{}\" report {} and {} detections, and differ from detection {} on", name,
        firstName, reported.size(), expected.size(), apart.first - reported.begin()));
}

Comparison::Comparison(const BenchOptions& options, const std::string& setKind, size_t setSize,
                       const Pages& cleanPages)
    : kind(setKind),
      size(setSize),
      file(options.setFile(kind, size)),
      signatures(readLines(file + ".ndb")),
      pages(cleanPages),
      plantedCount(plant(pages, signatures)) {
    addEngine("engine", "", true);
    addEngine("engine_without_md5", "", false);
    addEngine("plain", "plain", true);
    addEngine("plain_without_md5", "plain", false);
    addPeer(options.cache);
}

void Comparison::addEngine(const std::string& name, const std::string& kernel, bool withDigests) {
    const LoadRequest request = {kernel, file + ".ndb", withDigests ? file + ".hdb" : ""};
    const size_t loaded = withDigests ? 2 * size : size;
    contenders.push_back({name, [this, name, request, loaded] {
                              auto [seconds, detections] = scanWith(request, loaded, pages);
                              agreement.check(name, std::move(detections));
                              return seconds;
                          }});
}

void Comparison::addPeer(const std::filesystem::path& cache) {
    peer = makeHyperscanPeer(signatures, cache);
    if (peer == nullptr) return;
    const auto add = [this](const std::string& name, PeerWork work) {
        contenders.push_back(
            {name, [this, work] { return secondsOf([&] { peer->scanPages(pages, work); }); }});
    };
    add("hyperscan_raw", PeerWork::Raw);
    add("hyperscan_same_work_without_md5", PeerWork::Normalised);
    add("hyperscan_same_work", PeerWork::Digested);
}

void Comparison::run(int rounds) {
    for (int round = 0; round < rounds; ++round) {
        for (Contender& contender : contenders) {
            if (!contender.hasRunLong()) contender.seconds.push_back(contender.run());
        }
    }
}

double Comparison::rate(const std::string& name) const {
    for (const Contender& contender : contenders) {
        if (contender.name != name) continue;
        return static_cast<double>(totalBytes(pages)) / 1e6 / median(contender.seconds);
    }
    return 0;
}

double Comparison::ratio(const std::string& name, const std::string& to) const {
    return rate(to) > 0 ? rate(name) / rate(to) : 0;
}

std::optional<size_t> Comparison::pagesApart() const {
    if (peer == nullptr) return std::nullopt;
    struct Names {
        std::set<std::string> ours, theirs;
    };
    std::map<size_t, Names> byPage;
    for (const auto& [page, name] : agreement.detections()) byPage[page].ours.insert(name);
    for (const auto& [page, id] : peer->found) byPage[page].theirs.insert(signatures[id].name);
    return static_cast<size_t>(std::count_if(byPage.begin(), byPage.end(), [](const auto& entry) {
        return entry.second.ours != entry.second.theirs;
    }));
}
