// PatternSet: the engine's loaded signature set, freed with the object.
#pragma once

#include <cstdint>
#include <string>

#include "zvkengine.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace zvk {

struct PatternFiles {
    std::string base;
    std::string update;  // empty for none

    /// Declares --patterns and --update; the object must outlive the parsing.
    /// @return the option --patterns, a required one
    CLI::Option* addTo(CLI::App& parser);
};

class PatternSet {
  public:
    /// Loads the files into the engine, which holds nothing yet. Standard output stays clean.
    /// @throws PatternError
    explicit PatternSet(const PatternFiles& patternFiles);
    ~PatternSet() { destroyEngine(); }
    PatternSet(const PatternSet&) = delete;
    PatternSet& operator=(const PatternSet&) = delete;

    /// Tells on standard error what the set lacks: refused lines, other losses, all signatures.
    void complainAboutLosses() const;

    const _ZVKPatternInfo& info() const { return patternInfo; }

  private:
    std::string fileNames;  // as told in messages
    _ZVKPatternInfo patternInfo{};
    uint64_t refusedLineCount = 0;
    uint64_t otherLossCount = 0;
    std::string lastOtherLoss;
};

}  // namespace zvk
