// Command: what main() needs to know of a subcommand, and the list in which it finds them.
//
// Each subcommand has a file of its own. It defines a setup function and one Command at namespace
// scope, whose constructor adds it to the list. A new subcommand needs its file and a line in
// CMakeLists.txt, nothing else.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "console/ExitStatus.h"

namespace CLI {
class App;
}

namespace zvk {

/// Runs a subcommand whose arguments have been parsed.
using CommandAction = std::function<ExitStatus()>;

/// Declares a subcommand's arguments on its parser. Returns the action, which owns the record that
/// the arguments are parsed into.
using CommandSetup = CommandAction (*)(CLI::App& parser);

class Command {
  public:
    Command(const char* commandName, const char* commandSummary, CommandSetup commandSetup);
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    /// @return all commands, by name; valid once static initialisation is over
    static std::vector<const Command*> all();

    const char* const name;
    const char* const summary;
    const CommandSetup setup;
};

}  // namespace zvk
