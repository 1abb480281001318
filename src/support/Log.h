// Log: the engine's lines to the host's log function.
//
// Lines are sent through ZVK_INFO, ZVK_ERROR and ZVK_DEBUG. These need a constant kUnit, the name
// of the source unit, in scope. They evaluate their arguments only while their level is on, so a
// debug line in a hot path costs two comparisons.
#pragma once

#include <cstdint>

#include "support/EngineOption.h"

namespace STREAMENGINE_SPACE {

/// Position of the thread's current log call, shown by debug lines.
extern constinit thread_local const char* LogFileName;
extern constinit thread_local int32_t LogLineNo;

class Log {
  public:
    /// Each sends one line to the host's log function: the kind ("0" information, "1" error or
    /// "3[unit:line]" debug), then the message. Information is sent at every level, errors from
    /// level 1 on, debug lines from level 3 on. A message is cut to 4095 characters, a debug prefix
    /// to 127.
    static void info(const char* format, ...) __attribute__((format(printf, 1, 2)));
    static void error(const char* format, ...) __attribute__((format(printf, 1, 2)));
    static void debug(const char* format, ...) __attribute__((format(printf, 1, 2)));

    static bool infoIsOn() { return ops.logFunction != nullptr; }
    static bool errorIsOn() { return infoIsOn() && ops.logLevel >= 1; }
    static bool debugIsOn() { return infoIsOn() && ops.logLevel >= 3; }
};

}  // namespace STREAMENGINE_SPACE

#define ZVK_LOG_IF(condition, send, ...)                \
    do {                                                \
        if (condition) {                                \
            STREAMENGINE_SPACE::LogFileName = kUnit;    \
            STREAMENGINE_SPACE::LogLineNo = __LINE__;   \
            STREAMENGINE_SPACE::Log::send(__VA_ARGS__); \
        }                                               \
    } while (false)
#define ZVK_INFO(...) ZVK_LOG_IF(STREAMENGINE_SPACE::Log::infoIsOn(), info, __VA_ARGS__)
#define ZVK_ERROR(...) ZVK_LOG_IF(STREAMENGINE_SPACE::Log::errorIsOn(), error, __VA_ARGS__)
#define ZVK_DEBUG(...) ZVK_LOG_IF(STREAMENGINE_SPACE::Log::debugIsOn(), debug, __VA_ARGS__)
