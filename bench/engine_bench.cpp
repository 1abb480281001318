// Measures the engine from end to end: against its plain form and against a peer, on hostile text,
// with short streams, many streams, large sets and several threads. scripts/bench runs it.
#include <cstdio>
#include <exception>

#include "Commands.h"

void BenchOptions::addCorpus(CLI::App& command) {
    command.add_option("--corpus", corpus, "folder that has a folder of pages for each kind")
        ->required();
    command
        .add_option("--megabytes", megabytes,
                    "how much of the pages to draw, in units of 1,000,000 bytes")
        ->capture_default_str();
}

void BenchOptions::addSets(CLI::App& command) {
    command.add_option("--sets", sets, "folder of the sets")->required();
    command.add_option("--kinds", kinds, "kinds of sets: " + CLI::detail::join(kSetKinds))
        ->delimiter(',')
        ->check(CLI::IsMember(kSetKinds));
    command.add_option("--sizes", sizes, "numbers of signatures, a set of each")->delimiter(',');
}

void BenchOptions::addRounds(CLI::App& command) {
    command.add_option("--rounds", rounds, "rounds of which the median is taken")
        ->capture_default_str()
        ->check(CLI::PositiveNumber);
}

void BenchOptions::addJson(CLI::App& command) {
    command.add_option("--json", json, "file to add the results to");
}

std::string BenchOptions::setFile(const std::string& kind, size_t size) const {
    return (sets / (kind + "-" + std::to_string(size))).string();
}

namespace {

int run(int argc, char** argv) {
    CLI::App app("Measures the engine from end to end.");
    app.require_subcommand(1);
    addGenerateCommand(app);
    addCompareCommand(app);
    addHostileCommand(app);
    addAttackCommand(app);
    addSmallCommand(app);
    addStreamsCommand(app);
    addLoadCommand(app);
    addThreadsCommand(app);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error);
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "engine_bench: %s\n", error.what());
        return 1;
    }
}
