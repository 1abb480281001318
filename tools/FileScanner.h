// FileScanner: scans files as streams, one after the other, on an engine instance of its own.
#pragma once

#include <cstdint>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

#include "EngineStream.h"
#include "FileWalker.h"

namespace zvk {

class ProgressBar;

struct StreamOptions {
    uint32_t chunkLength = 65536;
    bool firstOnly = false;  // leave a file after its first detection
};

struct FileReport {
    std::string path;
    uint64_t bytes = 0;     // read; a refused stream is not read to its end
    bool isStream = false;  // the file could be opened
    bool isRefused = false;
    std::string error;  // empty if all went well; findings made before it count all the same
    std::vector<Finding> findings;
};

class FileScanner {
  public:
    /// @param progressBar  is told of the bytes read; borrowed for this object's life
    /// @throws std::bad_alloc if there is no memory for the instance or the chunk buffer
    FileScanner(const StreamOptions& streamOptions, ProgressBar& progressBar);

    /// Failures of the file or of the engine are told in the report.
    /// @param stop  ends the scan early, with a report of no use
    FileReport scanFile(const InputFile& input, const std::stop_token& stop);

  private:
    void scanOpened(const InputFile& input, const std::stop_token& stop, FileReport& report);

    StreamOptions options;
    ProgressBar& progress;
    InstancePtr instance;
    std::unique_ptr<char[]> chunk;
};

}  // namespace zvk
