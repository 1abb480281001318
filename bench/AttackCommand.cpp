// engine_bench attack: streams that are made to be dear, against ordinary pages with the same set.
//
// Measured: nanoseconds of CPU for a raw byte of both, and their ratio; each row has a bound for
// it. "a tenth" is the ratio with a family a tenth as large: cost should not grow with the family.
// "4x length" is the time a byte takes in a stream four times as long, divided by that in the short
// one: 1 says that time is linear in bytes and detections. The host goes on after each detection.
#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <stdexcept>

#include "AttackCase.h"
#include "Commands.h"
#include "EngineHost.h"
#include "Measure.h"
#include "Report.h"
#include "SignatureSet.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr size_t kLong = 4;  // times the short stream

/// The beginning of each stream, longer than the 256 bytes that the type gate collects: a detection
/// in these would end the whole first chunk.
const std::string kHeader = "<html><script>" + std::string(256, ';');

struct AttackCost {
    double hostile, ordinary;   // nanoseconds a byte
    double growth;              // time a byte takes in long streams, divided by that in short ones
    size_t length, detections;  // of the short stream, its opening not included

    double ratio() const { return hostile / ordinary; }
};

/// A case with its set loaded; one a process at a time.
class AttackRun {
  public:
    AttackRun(const AttackCase& attackCase, const std::string& file, const Pages& pages)
        : attack(attackCase), ordinary(pages), set({"", file}) {
        if (LoadedSet::signatureCount() != attack.signatures.size()) {
            throw std::runtime_error("not all signatures of " + attack.name + " are loaded");
        }
    }

    AttackCost measure(int rounds) {
        const size_t length = shortLength();
        std::vector<double> onOpening, onShort, onLong, onOrdinary;
        size_t found = 0;
        for (int round = 0; round < rounds && (round == 0 || !hasRunLong()); ++round) {
            onLong.push_back(scan(kLong * length));
            onShort.push_back(scan(length));
            found = detections;
            onOpening.push_back(openingSeconds);
            onOrdinary.push_back(secondsOf([&] { instance.scanPages(ordinary); }));
        }
        // A long opening is hostile as well: the dearer of the two counts.
        const size_t opening = attack.opening.size();
        const double ofOpening = opening > kChunkLength ? eachOf(onOpening, opening) : 0;
        return {std::max(eachOf(onShort, length), ofOpening),
                eachOf(onOrdinary, totalBytes(ordinary)), median(onLong) / median(onShort) / kLong,
                length, found};
    }

  private:
    /// @return nanoseconds a byte
    static double eachOf(const std::vector<double>& seconds, size_t bytes) {
        return 1e9 * median(seconds) / static_cast<double>(bytes);
    }

    bool hasRunLong() const {
        constexpr double kMostSeconds = 3;
        return hostileSeconds > kMostSeconds;
    }

    /// @return a length that takes long enough to be timed, of at least two cycles: what is
    ///         searched again after a detection is at most one
    size_t shortLength() {
        constexpr size_t kLeast = 1 << 15, kMost = 1 << 20;
        constexpr double kLeastSeconds = 0.02;
        size_t length = kLeast;
        while (length < kMost && scan(length) < kLeastSeconds) length *= 2;
        return length;
    }

    /// Scans the opening, then so many bytes of the rest.
    /// @return CPU seconds of the rest
    double scan(size_t length) {
        const std::string rest = attack.rest(length);
        detections = 0;
        hostile.begin([this](std::string_view) {
            ++detections;
            return zvkengine::Answer::kGoOn;
        });
        openingSeconds = secondsOf([&] { feed(kHeader + attack.opening); });
        const double seconds = secondsOf([&] { feed(rest); });
        hostile.end();
        if (hostile.isRefused()) throw std::runtime_error(attack.name + " is refused");
        hostileSeconds += openingSeconds + seconds;
        return seconds;
    }

    void feed(std::string_view text) {
        for (size_t i = 0; i < text.size(); i += kChunkLength) {
            hostile.scan(text.substr(i, kChunkLength));
        }
    }

    const AttackCase& attack;
    const Pages& ordinary;
    LoadedSet set;
    EngineInstance instance;
    zvkengine::Instance hostile;  // counts detections only: to keep names would cost too
    size_t detections = 0;
    double openingSeconds = 0, hostileSeconds = 0;
};

AttackCost costOf(const AttackCase& attack, const BenchOptions& options, const Pages& ordinary) {
    const std::string file = (options.sets / ("attack-" + attack.name + ".ndb")).string();
    writeText(file, linesOf(attack.signatures));
    return AttackRun(attack, file, ordinary).measure(options.rounds);
}

/// Prints a row of the table.
/// @return the same for the JSON file
Json reportRow(const AttackCase& attack, const AttackCost& cost, double ratioOfTenth) {
    fmt::print("{:24} {:9.1f} {:9.2f} {:8.1f} {:6.0f} {:8.1f} {:9.2f} {:8} {:8}  {}\n", attack.name,
               cost.hostile, cost.ordinary, cost.ratio(), attack.bound, ratioOfTenth, cost.growth,
               cost.length, cost.detections, cost.ratio() > attack.bound ? "ABOVE" : "");
    std::fflush(stdout);
    return {{"attack", attack.name},
            {"hostile_nanoseconds_a_byte", rounded(cost.hostile)},
            {"ordinary_nanoseconds_a_byte", rounded(cost.ordinary)},
            {"hostile_in_terms_of_ordinary", rounded(cost.ratio())},
            {"bound", attack.bound},
            {"the_same_with_a_tenth_of_the_family", rounded(ratioOfTenth)},
            {"time_per_byte_of_streams_4_times_as_long", rounded(cost.growth)},
            {"bytes", cost.length},
            {"detections", cost.detections}};
}

void attack(const BenchOptions& options, size_t signatures) {
    Pages ordinary = samplePages(options.corpus, options.megabytes, kSeed);
    dropRefused(ordinary);
    std::filesystem::create_directories(options.sets);
    const auto cases = attackCases(ordinary, signatures, kSeed);
    const auto tenths = attackCases(ordinary, std::max<size_t>(1, signatures / 10), kSeed);
    fmt::print(
        "{} signatures, CPU nanoseconds a byte, medians of {} rounds\n{:24} {:>9} {:>9} {:>8} "
        "{:>6} {:>8} {:>9} {:>8} {:>8}\n",
        signatures, options.rounds, "attack", "hostile", "ordinary", "ratio", "bound", "a tenth",
        "4x length", "bytes", "found");
    Json rows = Json::array();
    size_t above = 0;
    for (size_t i = 0; i < cases.size(); ++i) {
        const double ratioOfTenth = costOf(tenths[i], options, ordinary).ratio();
        const AttackCost cost = costOf(cases[i], options, ordinary);
        rows.push_back(reportRow(cases[i], cost, ratioOfTenth));
        if (cost.ratio() > cases[i].bound) ++above;
    }
    putSection(options.json, "attack", {{"signatures", signatures}, {"rows", rows}});
    if (above != 0) {
        throw std::runtime_error(
            fmt::format("{} of {} attacks cost more than their bound", above, cases.size()));
    }
}

}  // namespace

void addAttackCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand("attack", "streams that are made to be dear");
    const auto options = std::make_shared<BenchOptions>();
    const auto signatures = std::make_shared<size_t>(10000);
    options->megabytes = 2;
    options->rounds = 3;
    options->addCorpus(*command);
    options->addRounds(*command);
    options->addJson(*command);
    command->add_option("--sets", options->sets, "folder for the sets")->required();
    command->add_option("--signatures", *signatures, "of each set")->capture_default_str();
    command->callback([options, signatures] { attack(*options, *signatures); });
}
