// engine_bench generate: makes the sets of all other measurements, as pattern files.
//
// The same pages and sizes give the same files, byte for byte. Nothing is measured.
#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "Commands.h"
#include "SignatureSet.h"

namespace {

constexpr size_t kPlainCount = 1000000;

void writeKind(const BenchOptions& options, const std::string& kind, TextSource& source) {
    const size_t most = *std::max_element(options.sizes.begin(), options.sizes.end());
    auto signatures = bodySignatures(source, most, kSeed);
    // Each smaller set is the beginning of the largest.
    for (const size_t size : options.sizes) {
        const std::vector<Signature> some(signatures.begin(),
                                          signatures.begin() + static_cast<std::ptrdiff_t>(size));
        const std::string file = options.setFile(kind, size);
        writeText(file + ".ndb", linesOf(some));
        writeText(file + ".hdb", digestLines(size, kSeed));
    }
}

void generate(const BenchOptions& options, bool withPlain) {
    std::filesystem::create_directories(options.sets);
    PageSource pages(samplePages(options.corpus, options.megabytes, kSeed));
    ScriptSource scripts;
    writeKind(options, "mixed", pages);
    writeKind(options, "script", scripts);
    if (withPlain) writeText(options.sets / "plain.ndb", plainLines(kPlainCount, kSeed));
    fmt::print("sets of {} signatures in {}\n", fmt::join(options.sizes, ", "),
               options.sets.string());
}

}  // namespace

void addGenerateCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand("generate", "make the sets");
    const auto options = std::make_shared<BenchOptions>();
    const auto withPlain = std::make_shared<bool>(false);
    options->addCorpus(*command);
    options->addSets(*command);
    command->add_flag("--plain", *withPlain, "also a million plain signatures of 40 bytes");
    command->callback([options, withPlain] { generate(*options, *withPlain); });
}
