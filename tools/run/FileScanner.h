// FileScanner: scans files as streams, one after the other.
#pragma once

#include <cstdint>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

#include "file/FileWalker.h"
#include "run/ChunkStream.h"

namespace zvk {

class ProgressBar;

struct FileReport {
    std::string path;
    uint64_t bytes = 0;     // read; a refused stream is not read to its end
    bool isStream = false;  // the file could be opened
    bool isRefused = false;
    std::string error;  // empty if all went well; findings from before the error are valid
    std::vector<Finding> findings;
};

class FileScanner {
  public:
    /// @param streamSource  opens a stream for each file
    /// @param bytesAtATime  length of the chunks
    /// @param progressBar   counts the bytes read; borrowed for this object's life
    /// @throws std::bad_alloc if there is no memory for the chunk buffer
    FileScanner(std::unique_ptr<StreamSource> streamSource, uint32_t bytesAtATime,
                ProgressBar& progressBar);

    /// If the file or its stream fails, the report has the reason.
    /// @param stop  ends the scan early; the report is then not complete
    FileReport scanFile(const InputFile& input, const std::stop_token& stop);

  private:
    void scanOpened(const InputFile& input, const std::stop_token& stop, FileReport& report);

    std::unique_ptr<StreamSource> source;
    uint32_t chunkLength;
    ProgressBar& progress;
    std::unique_ptr<char[]> chunk;
};

}  // namespace zvk
