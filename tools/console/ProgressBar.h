// ProgressBar: one line on standard error that shows how much of a long run is done.
//
// A thread of its own draws it, only if standard error is a terminal, and only if the run takes
// longer than a second. Results may go to the same terminal. Code that writes them creates a
// Hidden, which erases the line and keeps it off until the results are written. Threads: all
// functions may be called from any thread.
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
    /// Erases the line.
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    /// @return whether the line is ever drawn
    bool isEnabled() const { return enabled; }

    void addBytes(uint64_t count) { bytesDone.fetch_add(count, std::memory_order_relaxed); }
    void addFile() { filesDone.fetch_add(1, std::memory_order_relaxed); }
    /// Sets the number of bytes of the whole run. Before that no percentage is shown.
    void setTotal(uint64_t bytes) { bytesTotal.store(bytes, std::memory_order_relaxed); }

    /// Keeps the line off the terminal while this object exists.
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
    std::condition_variable_any wakeUp;   // signalled only by a stop
    bool isDrawn = false;
    std::jthread thread;  // the last: it uses all the others
};

}  // namespace zvk
