// ScanRun: one run over many files, several of them at a time, with the results in their order.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Command.h"
#include "FileScanner.h"
#include "ResultFormat.h"

namespace zvk {

struct RunOptions {
    std::vector<std::string> paths;
    uint32_t jobs = 1;  // files scanned at a time
    StreamOptions stream;
    bool isVerbose = false;  // a line for each refused file as well
};

/// Scans the files with the engine's loaded set. Results go to standard output, what went wrong
/// with a file to standard error as well.
/// @throws OutputError if results cannot be written; the run is broken off
ExitStatus runScan(const RunOptions& options, const ResultFormat& format);

}  // namespace zvk
