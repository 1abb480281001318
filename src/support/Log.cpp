#include "support/Log.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <string_view>

namespace STREAMENGINE_SPACE {

constinit thread_local const char* LogFileName = nullptr;
constinit thread_local int32_t LogLineNo = 0;

namespace {

constexpr size_t kMessageRoom = 4096;  // the final NUL included, as below
constexpr size_t kPrefixRoom = 128;

void sendLine(std::string_view prefix, const char* format, va_list arguments) {
    std::array<char, kPrefixRoom + kMessageRoom> line;  // NOLINT: filled right below
    prefix.copy(line.data(), prefix.size());
    line[prefix.size()] = '\0';
    std::vsnprintf(line.data() + prefix.size(), kMessageRoom, format, arguments);
    try {
        ops.logFunction(line.data());
    } catch (...) {
        // A failing log function must not stop the engine: lines are also sent while a failed load
        // is undone and while memory is freed.
    }
}

}  // namespace

void Log::info(const char* format, ...) {
    if (!infoIsOn()) return;
    va_list arguments;
    va_start(arguments, format);
    sendLine("0", format, arguments);
    va_end(arguments);
}

void Log::error(const char* format, ...) {
    if (!errorIsOn()) return;
    va_list arguments;
    va_start(arguments, format);
    sendLine("1", format, arguments);
    va_end(arguments);
}

void Log::debug(const char* format, ...) {
    if (!debugIsOn()) return;
    std::array<char, kPrefixRoom> prefix{};
    std::snprintf(prefix.data(), prefix.size(), "3[%s:%d]",
                  LogFileName != nullptr ? LogFileName : "", LogLineNo);
    va_list arguments;
    va_start(arguments, format);
    sendLine(prefix.data(), format, arguments);
    va_end(arguments);
}

}  // namespace STREAMENGINE_SPACE
