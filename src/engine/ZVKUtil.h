// EngUtil: logging, the dump event, name scrambling and the loaders' small helpers.
//
// Log lines go out through ZVK_INFO, ZVK_ERROR and ZVK_DEBUG. They need a constant kUnit, the
// unit's name, in scope, and evaluate their arguments only while their level is on.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

#include "engine/EngineOption.h"

namespace STREAMENGINE_SPACE {

/// Position of the thread's current log call, shown by debug lines.
extern constinit thread_local const char* LogFileName;
extern constinit thread_local int32_t LogLineNo;

/// What getFileType() tells beside its result.
struct _st_filetype_info {
    const char* description = nullptr;  // static text; set only when a known format was found
    uint32_t position = 0;              // set only when a byte that is not text was found
};

class EngUtil {
  public:
    /// Each sends one line, "0", "1" or "3[unit:line]" followed by the message, to the host's log
    /// function: always, from level 1 on and from level 3 on. A message is cut to 4095 characters,
    /// a debug prefix to 127.
    static void InMsg(const char* format, ...) __attribute__((format(printf, 1, 2)));
    static void ErrMsg(const char* format, ...) __attribute__((format(printf, 1, 2)));
    static void DbgMsg(const char* format, ...) __attribute__((format(printf, 1, 2)));

    static bool infoIsOn() { return ops.logFunction != nullptr; }
    static bool errorIsOn() { return infoIsOn() && ops.logLevel >= 1; }
    static bool debugIsOn() { return infoIsOn() && ops.logLevel >= 3; }

    /// Raises the dump event for a block of normalised bytes; does nothing while dumping is off.
    static void sendDumpEvent(const char* data, unsigned int length,
                              const ZVKScanEngineCallbacks* callbacks, void* userData);

    /// Scrambles or unscrambles s in place: each byte but those equal to key is XORed with it, so
    /// that no NUL comes up and the operation is its own inverse.
    /// @return s, which may be null
    static char* XorString(char* s, unsigned char key);
    /// @return a copy of name, scrambled or unscrambled with the engine's key
    static std::string scrambled(std::string name);

    /// @return malloc(size) for sizes from 1 to 10485760, to be freed by the caller; else null
    static void* myAlloc(int size);

    static unsigned int min(unsigned int a, unsigned int b) { return a < b ? a : b; }

    /// @return the file's length in bytes, its position unchanged; 0 for a null file
    static int32_t getFileLength(std::FILE* file);

    /// Each cuts blanks, tabs, carriage returns and line feeds in place.
    /// @return s, which may be null
    static char* rtrim(char* s);
    static char* ltrim(char* s);
    static char* trim(char* s);

    /// Fills buffer with the directory that an environment variable names, trimmed and ending in
    /// "/".
    /// @param size  bytes in buffer; the value itself must fit with its NUL before it is trimmed
    /// @return false if there is no such value; buffer then holds what had been made of it so far
    static bool getPathVar(char* buffer, int size, const char* name);

    /// Turns a number of a container file, little-endian there, into the host's order.
    static uint16_t EC16(uint16_t value);
    static uint32_t EC32(uint32_t value);

    /// Types a stream by its first bytes, see scan/FileType.h.
    /// @param data  the stream's first bytes collected so far, from its start
    /// @param pos   first position not examined yet; advanced
    /// @param info  filled as told there
    /// @return kTypeUndecided, kTypeNotText or the code of a known format
    static uint32_t getFileType(const char* data, unsigned int len, unsigned int& pos,
                                _st_filetype_info* info);
};

}  // namespace STREAMENGINE_SPACE

#define ZVK_LOG_IF(condition, send, ...)                    \
    do {                                                    \
        if (condition) {                                    \
            STREAMENGINE_SPACE::LogFileName = kUnit;        \
            STREAMENGINE_SPACE::LogLineNo = __LINE__;       \
            STREAMENGINE_SPACE::EngUtil::send(__VA_ARGS__); \
        }                                                   \
    } while (false)
#define ZVK_INFO(...) ZVK_LOG_IF(STREAMENGINE_SPACE::EngUtil::infoIsOn(), InMsg, __VA_ARGS__)
#define ZVK_ERROR(...) ZVK_LOG_IF(STREAMENGINE_SPACE::EngUtil::errorIsOn(), ErrMsg, __VA_ARGS__)
#define ZVK_DEBUG(...) ZVK_LOG_IF(STREAMENGINE_SPACE::EngUtil::debugIsOn(), DbgMsg, __VA_ARGS__)
