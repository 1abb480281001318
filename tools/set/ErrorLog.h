// ErrorLog: gathers the engine's error lines, so that each can be told with what caused it.
//
// The engine's log function is one per process and gets no context, but it is called on the
// thread whose call caused the line. So an ErrorLog collects the lines of the thread that made
// it, for as long as it lives; lines of a thread without one are dropped. At most one per thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <limits>
#include <string>
#include <string_view>

namespace zvk {

class ErrorLog {
  public:
    struct Lines {
        uint64_t count = 0;
        std::deque<std::string> last;  // oldest first; may lack some, when memory runs out

        std::string latest() const { return last.empty() ? "out of memory" : last.back(); }
    };

    static constexpr size_t kAll = std::numeric_limits<size_t>::max();

    /// @param keep  how many of the last lines of each kind are kept; the others are only counted
    explicit ErrorLog(size_t keep);
    ~ErrorLog();
    ErrorLog(const ErrorLog&) = delete;
    ErrorLog& operator=(const ErrorLog&) = delete;

    /// Tells the engine to log errors here. Call it once, before anything else of the engine.
    static void install();

    /// @return the reasons of the refused lines of plain pattern files
    const Lines& refused() const { return refusedLines; }
    /// @return all other error lines, without the character for their kind
    const Lines& others() const { return otherLines; }

  private:
    static void onLogLine(const char* line);
    void add(std::string_view line);

    size_t keepCount;
    Lines refusedLines;
    Lines otherLines;
};

}  // namespace zvk
