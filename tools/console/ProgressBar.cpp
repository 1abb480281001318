#include "console/ProgressBar.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace zvk {

namespace {

constexpr std::chrono::milliseconds kFirstDraw{1000};
constexpr std::chrono::milliseconds kRedraw{200};
constexpr unsigned kBarWidth = 24;  // the whole line fits into 80 columns

std::string drawing(uint64_t done, uint64_t total) {
    // A file may have grown since it was measured; the bar still ends at 100 %.
    const double share = std::min(1.0, static_cast<double>(done) / static_cast<double>(total));
    const auto filled = static_cast<unsigned>(share * kBarWidth);
    return fmt::format("[{:#<{}}{:.<{}}] {:3}%  ", "", filled, "", kBarWidth - filled,
                       static_cast<int>(share * 100));
}

}  // namespace

ProgressBar::ProgressBar() : enabled(isatty(STDERR_FILENO) == 1) {
    if (enabled) thread = std::jthread([this](const std::stop_token& stop) { run(stop); });
}

ProgressBar::~ProgressBar() {
    if (!enabled) return;
    thread.request_stop();
    thread.join();
    erase();
}

ProgressBar::Hidden::Hidden(ProgressBar& bar) : lock(bar.mutex) {
    bar.erase();
}

void ProgressBar::run(const std::stop_token& stop) {
    std::unique_lock held(mutex);
    for (auto pause = kFirstDraw;; pause = kRedraw) {
        if (wakeUp.wait_for(held, stop, pause, [&] { return stop.stop_requested(); })) return;
        draw();
    }
}

void ProgressBar::draw() {
    const uint64_t done = bytesDone.load(std::memory_order_relaxed);
    const uint64_t total = bytesTotal.load(std::memory_order_relaxed);
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    const double megabytes = static_cast<double>(done) / 1e6;
    const std::string line = fmt::format(
        "\r\x1b[K{}{} files, {:.1f} MB, {:.1f} MB/s", total > 0 ? drawing(done, total) : "",
        filesDone.load(std::memory_order_relaxed), megabytes, megabytes / elapsed.count());
    std::fwrite(line.data(), 1, line.size(), stderr);
    isDrawn = true;
}

void ProgressBar::erase() {
    if (isDrawn) std::fputs("\r\x1b[K", stderr);
    isDrawn = false;
}

}  // namespace zvk
