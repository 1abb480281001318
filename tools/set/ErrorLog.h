// ErrorLog: collects the engine's error lines, so that each is reported with the file it belongs
// to.
//
// A process has one log function, which is not passed any context. But the engine calls it on the
// thread whose call caused the line. So an ErrorLog collects the lines of the thread that created
// it, until it is destroyed. Lines of a thread without an ErrorLog are dropped. At most one per
// thread.
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
        std::deque<std::string> last;  // oldest first; some are missing if memory ran out

        std::string latest() const { return last.empty() ? "out of memory" : last.back(); }
    };

    static constexpr size_t kAll = std::numeric_limits<size_t>::max();

    /// @param keep  how many of the last lines of each kind are kept; the others are only counted
    explicit ErrorLog(size_t keep);
    ~ErrorLog();
    ErrorLog(const ErrorLog&) = delete;
    ErrorLog& operator=(const ErrorLog&) = delete;

    /// Makes the engine log its errors here. Call it once, before any other call of the engine.
    static void install();

    /// @return the reasons of the refused lines of plain pattern files
    const Lines& refused() const { return refusedLines; }
    /// @return all other error lines, without their first character, the kind
    const Lines& others() const { return otherLines; }

  private:
    static void onLogLine(const char* line);
    void add(std::string_view line);

    size_t keepCount;
    Lines refusedLines;
    Lines otherLines;
};

}  // namespace zvk
