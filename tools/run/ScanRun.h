// ScanRun: one run over many files. Several are scanned at a time; the results keep their order.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "console/ExitStatus.h"
#include "run/ChunkStream.h"

namespace CLI {
class App;
}

namespace zvk {

struct RunOptions {
    std::vector<std::string> paths;
    uint32_t jobs = 1;  // files scanned at a time
    uint32_t chunkLength = 65536;
    bool isJson = false;
    bool isVerbose = false;  // a line for each refused file as well

    /// Declares the paths, --jobs and --json; the object must outlive the parsing.
    void addTo(CLI::App& parser);
};

/// Scans the files. Results go to standard output; errors go to standard error too.
/// @param makeSource  makes the source of streams of one thread; called once on each thread that
///                    scans
/// @throws OutputError if results cannot be written; the run ends there
ExitStatus runScan(const RunOptions& options,
                   const std::function<std::unique_ptr<StreamSource>()>& makeSource);

}  // namespace zvk
