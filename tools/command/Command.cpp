#include "command/Command.h"

#include <algorithm>
#include <string_view>

namespace zvk {

namespace {

// A static of a function, so that it exists before the first Command of any file is constructed.
std::vector<const Command*>& list() {
    static std::vector<const Command*> commands;
    return commands;
}

}  // namespace

Command::Command(const char* commandName, const char* commandSummary, CommandSetup commandSetup)
    : name(commandName), summary(commandSummary), setup(commandSetup) {
    list().push_back(this);
}

std::vector<const Command*> Command::all() {
    auto commands = list();
    std::sort(commands.begin(), commands.end(), [](const Command* left, const Command* right) {
        return std::string_view(left->name) < right->name;
    });
    return commands;
}

}  // namespace zvk
