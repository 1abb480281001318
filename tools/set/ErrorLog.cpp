#include "set/ErrorLog.h"

#include <new>

#include "zvkengine.h"

namespace zvk {

namespace {

// The log line of a refused pattern line begins with this text, fixed by the engine; the reason
// follows.
constexpr std::string_view kRefusedPrefix = "container.addString :";

thread_local ErrorLog* current = nullptr;  // borrowed; the one of this thread, if any

}  // namespace

ErrorLog::ErrorLog(size_t keep) : keepCount(keep) {
    current = this;
}

ErrorLog::~ErrorLog() {
    current = nullptr;
}

void ErrorLog::install() {
    const _ZVKLogOptions options{1, &ErrorLog::onLogLine};
    setOptions(ZVK_OPTION_LOG, &options);
}

// No exception may enter the engine. If there is no memory for a line, it is only counted.
void ErrorLog::onLogLine(const char* line) {
    if (current == nullptr || line[0] != '1') return;
    try {
        current->add(line + 1);
    } catch (const std::bad_alloc&) {
        return;
    }
}

void ErrorLog::add(std::string_view line) {
    const bool isRefusal = line.starts_with(kRefusedPrefix);
    if (isRefusal) line.remove_prefix(kRefusedPrefix.size());
    Lines& lines = isRefusal ? refusedLines : otherLines;
    ++lines.count;
    if (lines.last.size() == keepCount) lines.last.pop_front();
    lines.last.emplace_back(line);
}

}  // namespace zvk
