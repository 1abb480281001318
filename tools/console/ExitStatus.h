// ExitStatus: what the program ends with.
#pragma once

namespace zvk {

/// The same for every subcommand. A higher status wins over a lower one.
enum ExitStatus : int { kNothingFound = 0, kSomethingFound = 1, kFailed = 2 };

}  // namespace zvk
