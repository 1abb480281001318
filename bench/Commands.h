// The measurements of engine_bench, a subcommand each.
#pragma once

#include <CLI/CLI.hpp>
#include <filesystem>
#include <string>
#include <vector>

/// Two kinds of sets are cut from pages, and two are invented script; TextSource explains them.
inline const std::vector<std::string> kSetKinds = {"mixed", "script", "heldout", "phrases"};

/// The folders and files of a measurement, and how much of the pages and sets it uses.
struct BenchOptions {
    std::filesystem::path corpus, sets, cache, json;
    std::vector<std::string> kinds = kSetKinds;
    std::vector<size_t> sizes = {1000, 10000, 100000};
    double megabytes = 16;
    int rounds = 5;

    void addCorpus(CLI::App& command);
    void addSets(CLI::App& command);
    void addRounds(CLI::App& command);
    void addJson(CLI::App& command);

    /// @return the path of a set's files, without their ".ndb" and ".hdb"
    std::string setFile(const std::string& kind, size_t size) const;
};

constexpr uint64_t kSeed = 20090605;

/// Each adds its subcommand, which runs when the arguments are parsed. A measurement that fails
/// throws.
void addGenerateCommand(CLI::App& app);
void addCompareCommand(CLI::App& app);
void addHostileCommand(CLI::App& app);
void addAttackCommand(CLI::App& app);
void addSmallCommand(CLI::App& app);
void addStreamsCommand(CLI::App& app);
void addLoadCommand(CLI::App& app);
void addThreadsCommand(CLI::App& app);
