// engine_bench compare: the engine, its plain form and the peer on the same pages and sets.
//
// Measured: raw bytes of the pages a CPU second, in units of 1,000,000 bytes; more is better. The
// machine's speed changes from hour to hour, so compare rates of one run only: the columns with a
// "/" are such ratios. The peer on raw bytes does less work than the engine, on normalised bytes
// about the same.
#include <fmt/format.h>

#include <memory>
#include <stdexcept>

#include "Commands.h"
#include "Comparison.h"
#include "Report.h"

namespace {

using Json = nlohmann::ordered_json;

/// The cells of a row of the table, each with its heading.
using Cells = std::vector<std::pair<std::string, std::string>>;

const std::string kEngine = "engine", kWithoutMd5 = "engine_without_md5";

Json jsonOf(const Comparison& comparison) {
    Json rates, ratios, ratiosWithoutMd5;
    for (const auto& [name, run, seconds] : comparison.contenders) {
        rates[name] = rounded(comparison.rate(name));
        if (name.starts_with("engine")) continue;
        const bool hasDigests = !name.ends_with("_without_md5"), isRaw = name == "hyperscan_raw";
        if (hasDigests) ratios[name] = rounded(comparison.ratio(kEngine, name));
        if (!hasDigests || isRaw) {
            ratiosWithoutMd5[name] = rounded(comparison.ratio(kWithoutMd5, name));
        }
    }
    Json row = {{"kind", comparison.kind},
                {"signatures", comparison.size},
                {"megabytes_per_cpu_second", rates},
                {"engine_in_terms_of", ratios},
                {"engine_without_md5_in_terms_of", ratiosWithoutMd5},
                {"planted", comparison.planted()},
                {"detections", comparison.agreement.detections().size()}};
    if (const auto apart = comparison.pagesApart()) row["pages_on_which_peer_differs"] = *apart;
    return row;
}

Cells cellsOf(const Comparison& comparison) {
    const auto rate = [&](const std::string& name) {
        const double value = comparison.rate(name);
        return fmt::format("{:.{}f}", value, value < 10 ? 3 : 1);
    };
    const auto ratio = [&](const std::string& to, const std::string& form = kEngine) {
        return fmt::format("{:.2f}", comparison.ratio(form, to));
    };
    const auto apart = comparison.pagesApart();
    return {{"set", comparison.kind},
            {"size", std::to_string(comparison.size)},
            {"engine", rate("engine")},
            {"-md5", rate("engine_without_md5")},
            {"plain", rate("plain")},
            {"-md5", rate("plain_without_md5")},
            {"hs same", rate("hyperscan_same_work")},
            {"-md5", rate("hyperscan_same_work_without_md5")},
            {"hs raw", rate("hyperscan_raw")},
            {"/plain", ratio("plain")},
            {"/hs same", ratio("hyperscan_same_work")},
            {"-md5", ratio("hyperscan_same_work_without_md5", kWithoutMd5)},
            {"/hs raw", ratio("hyperscan_raw")},
            {"-md5", ratio("hyperscan_raw", kWithoutMd5)},
            {"planted", std::to_string(comparison.planted())},
            {"found", std::to_string(comparison.agreement.detections().size())},
            {"apart", apart ? std::to_string(*apart) : "-"}};
}

void printRow(const Cells& cells, bool withHeadings) {
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
        throw std::runtime_error(fmt::format(
            "the peer would scan other text: {} pages have another normalised form", apart));
    }
    return pages;
}

void compare(const BenchOptions& options) {
    const Pages pages = readPages(options);
    const bool hasPeer =
        makeHyperscanPeer({parseLine("Probe:0:*:70726f6265")}, options.cache) != nullptr;
    fmt::print("MB per CPU second in chunks of {} bytes, medians of {} rounds{}\n", kChunkLength,
               options.rounds,
               hasPeer ? "" : "; built without libhyperscan, its columns are empty");
    Json rows = Json::array();
    for (const std::string& kind : options.kinds) {
        for (const size_t size : options.sizes) {
            Comparison comparison(options, kind, size, pages);
            comparison.run(options.rounds);
            printRow(cellsOf(comparison), rows.empty());
            rows.push_back(jsonOf(comparison));
        }
    }
    fmt::print(
        "\"planted\": signatures put into the pages. \"found\": detections, the same with all "
        "forms "
        "of the engine.\n\"apart\": pages on which libhyperscan reports other names: it reports "
        "all "
        "matches that overlap, and accepts\nany occurrence of a part where the engine accepts the "
        "first.\n");
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
