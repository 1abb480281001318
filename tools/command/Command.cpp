#include "command/Command.h"

#include <algorithm>
#include <string_view>

namespace zvk {

namespace {

// A function's static, as it must exist before the first Command, whichever file that is in.
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
