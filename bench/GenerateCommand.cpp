// engine_bench generate: makes the sets of all other measurements, as pattern files.
//
// The same pages and sizes give the same files, byte for byte. Nothing is measured.
#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <memory>

#include "Commands.h"
#include "PageGrams.h"
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

/// Makes the sources of all kinds. The pages are those that a measurement of this size scans.
class Sources {
  public:
    Sources(const BenchOptions& options, const std::filesystem::path& heldOutFolder)
        : corpus(options.corpus),
          megabytes(options.megabytes),
          heldOut(samplePages(heldOutFolder, kAll, kSeed)) {
        grams.add(samplePages(corpus, kAll, kSeed));
        grams.add(heldOut);
    }

    std::unique_ptr<TextSource> of(const std::string& kind) const {
        if (kind == "mixed") {
            return std::make_unique<PageSource>(samplePages(corpus, megabytes, kSeed));
        }
        if (kind == "script") return std::make_unique<ScriptSource>();
        if (kind == "heldout") return std::make_unique<HeldOutSource>(heldOut, grams);
        return std::make_unique<PhraseSource>(grams);
    }

  private:
    static constexpr double kAll = std::numeric_limits<double>::infinity();  // megabytes

    std::filesystem::path corpus;
    double megabytes;
    Pages heldOut;
    PageGrams grams;
};

void generate(const BenchOptions& options, const std::filesystem::path& heldOut, bool withPlain) {
    std::filesystem::create_directories(options.sets);
    const Sources sources(options, heldOut);
    for (const std::string& kind : options.kinds) writeKind(options, kind, *sources.of(kind));
    if (withPlain) writeText(options.sets / "plain.ndb", plainLines(kPlainCount, kSeed));
    fmt::print("sets of {} signatures in {}\n", fmt::join(options.sizes, ", "),
               options.sets.string());
}

}  // namespace

void addGenerateCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand("generate", "make the sets");
    const auto options = std::make_shared<BenchOptions>();
    const auto heldOut = std::make_shared<std::filesystem::path>();
    const auto withPlain = std::make_shared<bool>(false);
    options->addCorpus(*command);
    options->addSets(*command);
    command->add_option("--held-out", *heldOut, "the same with pages that are never scanned")
        ->required();
    command->add_flag("--plain", *withPlain, "also a million plain signatures of 40 bytes");
    command->callback([options, heldOut, withPlain] { generate(*options, *heldOut, *withPlain); });
}
