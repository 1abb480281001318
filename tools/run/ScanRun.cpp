#include "run/ScanRun.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <tbb/enumerable_thread_specific.h>
#include <tbb/global_control.h>
#include <tbb/info.h>
#include <tbb/parallel_pipeline.h>
#include <tbb/task_arena.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <exception>
#include <optional>
#include <stop_token>
#include <thread>

#include "console/Diagnostics.h"
#include "console/Output.h"
#include "console/ProgressBar.h"
#include "console/ResultFormat.h"
#include "file/FileWalker.h"
#include "run/FileScanner.h"

namespace zvk {

namespace {

// Files in the pipeline for each job. Results are written in order, so files that are done wait for
// a slow one before them. Their threads meanwhile go on with this many more files.
constexpr size_t kFilesPerJob = 8;
constexpr int kMostJobs = 1024;

// Adds up the sizes for the progress bar. Gives up at a path whose size is not known, standard
// input for instance; the bar then shows no percentage.
void measure(const std::stop_token& stop, const std::vector<std::string>& paths, ProgressBar& bar) {
    FileWalker walker(paths);
    uint64_t total = 0;
    while (const auto input = walker.next()) {
        if (stop.stop_requested() || input->path == kStandardInput) return;
        struct stat status {};
        if (!input->error.empty() || stat(input->path.c_str(), &status) == -1) continue;
        if (!S_ISREG(status.st_mode)) return;
        total += static_cast<uint64_t>(status.st_size);
    }
    bar.setTotal(total);
}

// Writes the reports of the files, one after the other, and adds up the totals.
class Reporter {
  public:
    Reporter(const ResultFormat& resultFormat, bool verbose, ProgressBar& progressBar)
        : format(resultFormat), isVerbose(verbose), progress(progressBar) {}

    void report(const FileReport& file) {
        progress.addFile();
        totals.files += file.isStream ? 1 : 0;
        totals.bytes += file.bytes;
        totals.refused += file.isRefused ? 1 : 0;
        if (file.findings.empty() && file.error.empty() && !(file.isRefused && isVerbose)) return;

        const ProgressBar::Hidden hidden(progress);
        for (const Finding& finding : file.findings) write(file.path, finding);
        if (file.isRefused && isVerbose) writeOutput(format.refused(file.path));
        if (!file.error.empty()) {
            ++totals.errors;
            writeOutput(format.error(file.path, file.error));
        }
        flushOutput();
        if (!file.error.empty()) complain(fmt::format("{}: {}", file.path, file.error));
    }

    ExitStatus finish(double seconds) {
        totals.seconds = seconds;
        writeOutput(format.summary(totals));
        flushOutput();
        if (totals.errors > 0) return kFailed;
        return totals.detections > 0 ? kSomethingFound : kNothingFound;
    }

  private:
    void write(const std::string& path, const Finding& finding) {
        totals.detections += finding.count;
        const std::string line = format.detection(path, finding.name);
        for (uint64_t i = 0; i < finding.count; ++i) writeOutput(line);
    }

    const ResultFormat& format;
    const bool isVerbose;
    ProgressBar& progress;
    ScanTotals totals;
};

void scanAll(const RunOptions& options,
             const std::function<std::unique_ptr<StreamSource>()>& makeSource,
             ProgressBar& progress, Reporter& reporter) {
    FileWalker walker(options.paths);
    tbb::enumerable_thread_specific<FileScanner> scanners(
        [&] { return FileScanner(makeSource(), options.chunkLength, progress); });
    // No exception may leave a stage: the reports that wait for the next stage would not be freed.
    std::stop_source stop;
    std::exception_ptr failure;
    const auto nextFile = [&](tbb::flow_control& control) {
        auto input = stop.stop_requested() ? std::nullopt : walker.next();
        if (!input) control.stop();
        return input.value_or(InputFile{});
    };
    const auto scanFile = [&](const InputFile& input) {
        return scanners.local().scanFile(input, stop.get_token());
    };
    const auto report = [&](const FileReport& file) {
        if (failure) return;
        try {
            reporter.report(file);
        } catch (const OutputError&) {
            failure = std::current_exception();
            stop.request_stop();
        }
    };
    using tbb::filter_mode;
    tbb::parallel_pipeline(
        options.jobs * kFilesPerJob,
        tbb::make_filter<void, InputFile>(filter_mode::serial_in_order, nextFile) &
            tbb::make_filter<InputFile, FileReport>(filter_mode::parallel, scanFile) &
            tbb::make_filter<FileReport, void>(filter_mode::serial_in_order, report));
    if (failure) std::rethrow_exception(failure);
}

}  // namespace

void RunOptions::addTo(CLI::App& parser) {
    jobs = static_cast<uint32_t>(std::clamp(tbb::info::default_concurrency(), 1, kMostJobs));
    parser.add_option("-j,--jobs", jobs, "Files that are scanned at the same time")
        ->check(CLI::Range(1, kMostJobs))
        ->type_name("N")
        ->capture_default_str();
    parser.add_flag("--json", isJson, "Print one JSON object on each line instead of text");
    parser.add_option("paths", paths, "Files, folders, or - for standard input")
        ->required()
        ->type_name("PATH");
}

ExitStatus runScan(const RunOptions& options,
                   const std::function<std::unique_ptr<StreamSource>()>& makeSource) {
    const auto start = std::chrono::steady_clock::now();
    ProgressBar progress;
    std::jthread measurer;
    if (progress.isEnabled()) {
        measurer = std::jthread(
            [&](const std::stop_token& stop) { measure(stop, options.paths, progress); });
    }
    const auto format = options.isJson ? makeJsonFormat() : makeTextFormat();
    Reporter reporter(*format, options.isVerbose, progress);
    // The arena has a slot for each job. The control allows more threads than there are cores.
    const tbb::global_control control(tbb::global_control::max_allowed_parallelism, options.jobs);
    tbb::task_arena arena(static_cast<int>(options.jobs));
    arena.execute([&] { scanAll(options, makeSource, progress, reporter); });
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    const ProgressBar::Hidden hidden(progress);
    return reporter.finish(elapsed.count());
}

}  // namespace zvk
