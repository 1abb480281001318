#include "run/FileScanner.h"

#include <fmt/format.h>

#include <exception>
#include <string_view>
#include <utility>

#include "console/ProgressBar.h"
#include "file/InputStream.h"
#include "set/ErrorLog.h"

namespace zvk {

FileScanner::FileScanner(std::unique_ptr<StreamSource> streamSource, uint32_t bytesAtATime,
                         ProgressBar& progressBar)
    : source(std::move(streamSource)),
      chunkLength(bytesAtATime),
      progress(progressBar),
      // Not cleared: of a long chunk only the pages that a file fills take up memory.
      chunk(std::make_unique_for_overwrite<char[]>(chunkLength)) {}

FileReport FileScanner::scanFile(const InputFile& input, const std::stop_token& stop) {
    FileReport report;
    report.path = input.path;
    report.error = input.error;
    if (!report.error.empty()) return report;
    const ErrorLog log(1);
    try {
        scanOpened(input, stop, report);
    } catch (const std::exception& error) {
        report.error = error.what();
    }
    if (report.error.empty() && log.others().count > 0) {
        report.error = "error of the engine: " + log.others().latest();
    }
    return report;
}

void FileScanner::scanOpened(const InputFile& input, const std::stop_token& stop,
                             FileReport& report) {
    InputStream file(input);
    report.isStream = true;
    const auto stream = source->open(report.findings);
    bool wantsMore = true;
    bool isAtEnd = false;
    while (wantsMore && !isAtEnd && !stop.stop_requested()) {
        const size_t length = file.read(chunk.get(), chunkLength);
        isAtEnd = length < chunkLength;
        report.bytes += length;
        progress.addBytes(length);
        if (length > 0) wantsMore = stream->scanChunk(std::string_view(chunk.get(), length));
    }
    stream->end();
    report.isRefused = stream->isRefused();
    if (isAtEnd) report.error = file.failure();
}

}  // namespace zvk
