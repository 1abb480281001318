// Comparison: one set and the same pages, scanned in turn by all contenders.
//
// A contender is one way to scan the pages: a form of the engine, or the peer. All of them take
// turns within a round, so that what slows the machine down slows all of them. The rate of each is
// taken from the median of its rounds.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Commands.h"
#include "EngineHost.h"
#include "HyperscanPeer.h"
#include "testing/Signature.h"

/// One way to scan all pages.
struct Contender {
    std::string name;
    std::function<double()> run;  // returns CPU seconds of scanning alone
    std::vector<double> seconds = {};

    /// @return whether it has run so long that further rounds are left out; the rounds of a slow
    ///         contender also vary less
    bool hasRunLong() const;
};

/// Checks that all forms of the engine report the same detections in the same order.
class Agreement {
  public:
    /// @throws std::runtime_error if the detections differ from those of the first form
    void check(const std::string& name, Detections reported);
    const Detections& detections() const { return first->second; }

  private:
    std::optional<std::pair<std::string, Detections>> first;  // its name and what it reported
};

class Comparison {
  public:
    Comparison(const BenchOptions& options, const std::string& setKind, size_t setSize,
               const Pages& cleanPages);
    Comparison(const Comparison&) = delete;
    Comparison& operator=(const Comparison&) = delete;

    void run(int rounds);

    /// @return raw bytes of the pages a CPU second, in units of 1,000,000; 0 if it did not run
    double rate(const std::string& name) const;
    /// @return a contender's rate divided by another one's; 0 if that did not run
    double ratio(const std::string& name, const std::string& to) const;
    /// @return the number of pages on which the peer's last scan, of normalised bytes, reported
    ///         other names than the engine; none without a peer
    std::optional<size_t> pagesApart() const;

    /// @return the number of signatures that were put into the pages
    size_t planted() const { return plantedCount; }

    const std::string kind;
    const size_t size;  // body signatures of the set
    std::vector<Contender> contenders;
    Agreement agreement;

  private:
    void addEngine(const std::string& name, const std::string& kernel, bool withDigests);
    void addPeer(const std::filesystem::path& cache);

    std::string file;  // of the set, without its ending
    std::vector<Signature> signatures;
    Pages pages;
    size_t plantedCount;
    std::unique_ptr<HyperscanPeer> peer;
};
