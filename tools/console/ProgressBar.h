// ProgressBar: one line on standard error that tells how far a long run has come.
//
// It is drawn by a thread of its own, only if standard error is a terminal, and only when the run
// lasts longer than a second. Results may go to the same terminal: whoever writes them holds a
// Hidden, which takes the line away and keeps it away.
// Threads: all functions may be called from any thread.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <stop_token>
#include <thread>

namespace zvk {

class ProgressBar {
  public:
    ProgressBar();
    /// Takes the line away for good.
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    /// @return whether the line is ever drawn
    bool isEnabled() const { return enabled; }

    void addBytes(uint64_t count) { bytesDone.fetch_add(count, std::memory_order_relaxed); }
    void addFile() { filesDone.fetch_add(1, std::memory_order_relaxed); }
    /// Tells how many bytes the whole run has; until then no share of it is shown.
    void setTotal(uint64_t bytes) { bytesTotal.store(bytes, std::memory_order_relaxed); }

    /// Keeps the line off the terminal while it lives.
    class Hidden {
      public:
        explicit Hidden(ProgressBar& bar);

      private:
        std::lock_guard<std::mutex> lock;
    };

  private:
    void run(const std::stop_token& stop);
    void draw();
    void erase();

    const bool enabled;
    const std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
    std::atomic<uint64_t> bytesDone{0};
    std::atomic<uint64_t> filesDone{0};
    std::atomic<uint64_t> bytesTotal{0};  // 0 while not known
    std::mutex mutex;                     // guards the terminal and isDrawn
    std::condition_variable_any wakeUp;   // never signalled but by a stop
    bool isDrawn = false;
    std::jthread thread;  // the last: it uses all the others
};

}  // namespace zvk
