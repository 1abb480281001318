#include "engine/ZVKUtil.h"

#include <array>
#include <bit>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace STREAMENGINE_SPACE {

constinit thread_local const char* LogFileName = nullptr;
constinit thread_local int32_t LogLineNo = 0;

namespace {

constexpr const char* kUnit = "ZVKUtil";
constexpr size_t kMessageRoom = 4096;  // the final NUL included, as below
constexpr size_t kPrefixRoom = 128;
constexpr int kLargestAllocation = 10485760;
constexpr std::string_view kTrimmed = " \r\n\t";

bool isTrimmed(char c) {
    return kTrimmed.find(c) != std::string_view::npos;
}

void sendLine(std::string_view prefix, const char* format, va_list arguments) {
    std::array<char, kPrefixRoom + kMessageRoom> line;  // NOLINT: filled right below
    prefix.copy(line.data(), prefix.size());
    line[prefix.size()] = '\0';
    std::vsnprintf(line.data() + prefix.size(), kMessageRoom, format, arguments);
    try {
        ops.logFunction(line.data());
    } catch (...) {
        // Lines are also sent where a load is undone and where memory is freed: that has to go on.
    }
}

}  // namespace

void EngUtil::InMsg(const char* format, ...) {
    if (!infoIsOn()) return;
    va_list arguments;
    va_start(arguments, format);
    sendLine("0", format, arguments);
    va_end(arguments);
}

void EngUtil::ErrMsg(const char* format, ...) {
    if (!errorIsOn()) return;
    va_list arguments;
    va_start(arguments, format);
    sendLine("1", format, arguments);
    va_end(arguments);
}

void EngUtil::DbgMsg(const char* format, ...) {
    if (!debugIsOn()) return;
    std::array<char, kPrefixRoom> prefix{};
    std::snprintf(prefix.data(), prefix.size(), "3[%s:%d]",
                  LogFileName != nullptr ? LogFileName : "", LogLineNo);
    va_list arguments;
    va_start(arguments, format);
    sendLine(prefix.data(), format, arguments);
    va_end(arguments);
}

void EngUtil::sendDumpEvent(const char* data, unsigned int length,
                            const ZVKScanEngineCallbacks* callbacks, void* userData) {
    if (ops.dump == 0) return;
    const _ZVKDumpEvent event = {data, length};
    callbacks->onEvent(nullptr, ZVK_EVENT_DATA_DUMP, &event, userData);
}

char* EngUtil::XorString(char* s, unsigned char key) {
    if (s == nullptr) return nullptr;
    for (char* c = s; *c != '\0'; ++c) {
        const auto byte = static_cast<unsigned char>(*c);
        if (byte != key) *c = static_cast<char>(byte ^ key);
    }
    return s;
}

std::string EngUtil::scrambled(std::string name) {
    XorString(name.data(), ops.scrambleKey);
    return name;
}

void* EngUtil::myAlloc(int size) {
    if (size < 1 || size > kLargestAllocation) {
        ZVK_DEBUG("bad size [%d] to allocate", size);
        return nullptr;
    }
    return std::malloc(static_cast<size_t>(size));
}

int32_t EngUtil::getFileLength(std::FILE* file) {
    if (file == nullptr) return 0;
    const off_t position = ftello(file);
    fseeko(file, 0, SEEK_END);
    const off_t length = ftello(file);
    fseeko(file, position, SEEK_SET);
    return static_cast<int32_t>(length);
}

char* EngUtil::rtrim(char* s) {
    if (s == nullptr) return nullptr;
    size_t length = std::strlen(s);
    while (length > 0 && isTrimmed(s[length - 1])) --length;
    s[length] = '\0';
    return s;
}

char* EngUtil::ltrim(char* s) {
    if (s == nullptr) return nullptr;
    const char* rest = s;
    while (*rest != '\0' && isTrimmed(*rest)) ++rest;
    std::memmove(s, rest, std::strlen(rest) + 1);
    return s;
}

char* EngUtil::trim(char* s) {
    return ltrim(rtrim(s));
}

bool EngUtil::getPathVar(char* buffer, int size, const char* name) {
    if (buffer == nullptr || size <= 0 || name == nullptr) return false;
    const char* value = std::getenv(name);
    if (value == nullptr) return false;
    const size_t room = static_cast<size_t>(size);
    const size_t valueLength = std::strlen(value);
    if (valueLength >= room) return false;
    std::memcpy(buffer, value, valueLength + 1);
    const size_t length = std::strlen(trim(buffer));
    if (length == 0) return false;
    if (buffer[length - 1] == '/') return true;
    if (room - length <= 1) return false;
    std::memcpy(buffer + length, "/", 2);
    return true;
}

uint16_t EngUtil::EC16(uint16_t value) {
    if constexpr (std::endian::native == std::endian::little) return value;
    return static_cast<uint16_t>(value << 8 | value >> 8);
}

uint32_t EngUtil::EC32(uint32_t value) {
    if constexpr (std::endian::native == std::endian::little) return value;
    return value << 24 | (value & 0xFF00) << 8 | (value >> 8 & 0xFF00) | value >> 24;
}

}  // namespace STREAMENGINE_SPACE
