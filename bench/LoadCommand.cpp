// engine_bench load: what one set costs to load.
//
// Measured: CPU seconds of loadPattern(); the peak of resident memory during it and what stays
// resident, both above what the process held before; and the bytes a signature holds above its own
// name and pattern. Less is better. Memory of an earlier load would hide that of this one, so each
// set is loaded in a process of its own.
#include <fmt/format.h>

#include <algorithm>
#include <ctime>
#include <fstream>
#include <memory>

#include "Commands.h"
#include "EngineHost.h"
#include "Measure.h"
#include "Report.h"

namespace {

struct LoadArguments {
    std::string label, base, update;
    std::filesystem::path json;
};

/// @return the bytes that the signatures of a file hold at least: name and pattern, or name, digest
///         and size
size_t ownBytes(const std::string& file) {
    constexpr size_t kDigestAndSize = 20;
    const bool isDigests = file.ends_with(".hdb");
    std::ifstream in(file);
    size_t bytes = 0;
    for (std::string line; std::getline(in, line);) {
        const size_t lastField = line.size() - line.rfind(':') - 1;
        bytes += isDigests ? kDigestAndSize + lastField : line.find(':') + lastField / 2;
    }
    return bytes;
}

void load(const LoadArguments& arguments) {
    const size_t before = residentBytes();
    const std::clock_t start = std::clock();
    const LoadedSet set({"", arguments.base, arguments.update});
    const double seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    const auto above = [before](size_t bytes) { return static_cast<double>(bytes - before); };
    const double held = above(residentBytes());
    const double peak =
        std::max(held, above(peakResidentBytes()));  // the kernel updates its peak late
    const double count = LoadedSet::signatureCount();
    const double own = static_cast<double>(
        ownBytes(arguments.base) + (arguments.update.empty() ? 0 : ownBytes(arguments.update)));
    const double overhead = (held - own) / count;
    fmt::print(
        "{}: {} signatures, {:.2f} CPU s, peak {:.1f} MB, {:.1f} MB when loaded, {:.0f} bytes "
        "a signature above its own {:.0f}\n",
        arguments.label, count, seconds, peak / 1e6, held / 1e6, overhead, own / count);
    putSection(arguments.json, "load/" + arguments.label,
               {{"signatures", count},
                {"cpu_seconds", rounded(seconds)},
                {"peak_megabytes", rounded(peak / 1e6)},
                {"megabytes_when_loaded", rounded(held / 1e6)},
                {"bytes_a_signature_above_its_own", rounded(overhead)}});
}

}  // namespace

void addLoadCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand("load", "time and memory of a load");
    const auto arguments = std::make_shared<LoadArguments>();
    command->add_option("label", arguments->label, "the row's name")->required();
    command->add_option("base", arguments->base, "pattern file")->required();
    command->add_option("update", arguments->update, "second pattern file");
    command->add_option("--json", arguments->json, "file to add the results to");
    command->callback([arguments] { load(*arguments); });
}
