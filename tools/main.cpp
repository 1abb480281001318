// zvk: the command line of the stream scan engine.

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <exception>
#include <new>
#include <sstream>
#include <string>

#include "command/Command.h"
#include "console/Diagnostics.h"
#include "console/Output.h"
#include "zvkengine.h"

namespace zvk {

namespace {

constexpr const char* kFooter = R"(Examples:
  zvk scan --patterns sample.ndb pages/
  zvk info --patterns sample.ndb
  zvk filter page.html > harmless.html
  zvk scan --help

Exit status: 0 nothing found, 1 something found, 2 an error.)";

std::string versionText() {
    _ZVKEngineInfo info{};
    getEngineInfo(&info);
    return fmt::format("{}\n{}", info.buildTime, info.engineVersion);
}

// Parsing also ends here, with a status of 0, after --help or --version.
ExitStatus endParsing(const CLI::App& parser, const CLI::ParseError& error) {
    std::ostringstream text;
    if (parser.exit(error, text, text) != 0) {
        complain(fmt::format("{} (see 'zvk --help')", error.what()));
        return kFailed;
    }
    writeOutput(text.str());
    flushOutput();
    return kNothingFound;
}

ExitStatus run(int argc, char** argv) {
    CLI::App parser("Finds known malicious content in markup streams.", "zvk");
    parser.set_version_flag("--version", versionText, "Print the engine's build time and version");
    parser.require_subcommand(0, 1);
    parser.footer(kFooter);
    CommandAction action;
    for (const Command* command : Command::all()) {
        CLI::App* sub = parser.add_subcommand(command->name, command->summary);
        sub->callback([&action, chosen = command->setup(*sub)] { action = chosen; });
    }
    try {
        parser.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return endParsing(parser, error);
    }
    if (!action) {
        complain("a subcommand is required (see 'zvk --help')");
        return kFailed;
    }
    return action();
}

}  // namespace

}  // namespace zvk

int main(int argc, char** argv) {
    zvk::reserveStandardDescriptors();
    std::signal(SIGPIPE, SIG_IGN);  // a write to a closed pipe then fails with EPIPE
    try {
        return zvk::run(argc, argv);
    } catch (const std::bad_alloc&) {
        zvk::complain("out of memory");
    } catch (const std::exception& error) {
        zvk::complain(error.what());
    }
    return zvk::kFailed;
}
