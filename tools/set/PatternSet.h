// PatternSet: the engine's loaded signature set, freed with the object.
#pragma once

#include <cstdint>
#include <string>

#include "zvkengine.hpp"

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
    /// Loads the files into the engine, which must be empty. Standard output stays clean.
    /// @throws PatternError
    explicit PatternSet(const PatternFiles& patternFiles);

    /// Writes to standard error what the set lacks: refused lines, other losses, or everything.
    void complainAboutLosses() const;

    const ZVKPatternInfo& info() const { return patternInfo; }

  private:
    zvkengine::Set set;
    std::string fileNames;  // as written in messages
    ZVKPatternInfo patternInfo{};
    uint64_t refusedLineCount = 0;
    uint64_t otherLossCount = 0;
    std::string lastOtherLoss;
};

}  // namespace zvk
