// ExitStatus: the exit status of the program.
#pragma once

namespace zvk {

/// The same for every subcommand. If several apply, the highest one is used.
enum ExitStatus : int { kNothingFound = 0, kSomethingFound = 1, kFailed = 2 };

}  // namespace zvk
