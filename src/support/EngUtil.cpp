#include "support/EngUtil.h"

#include <cstdlib>
#include <cstring>
#include <string_view>

#include "support/Log.h"

namespace STREAMENGINE_SPACE {
namespace {

constexpr const char* kUnit = "ZVKUtil";
constexpr int kLargestAllocation = 10485760;
constexpr std::string_view kTrimmed = " \r\n\t";

bool isTrimmed(char c) {
    return kTrimmed.find(c) != std::string_view::npos;
}

}  // namespace

void* EngUtil::myAlloc(int size) {
    if (size < 1 || size > kLargestAllocation) {
        ZVK_DEBUG("bad size [%d] to allocate", size);
        return nullptr;
    }
    return std::malloc(static_cast<size_t>(size));
}

uint64_t EngUtil::fileLength(std::FILE* file) {
    if (file == nullptr) return 0;
    const off_t position = ftello(file);
    fseeko(file, 0, SEEK_END);
    const off_t length = ftello(file);
    fseeko(file, position, SEEK_SET);
    return static_cast<uint64_t>(length);
}

int32_t EngUtil::getFileLength(std::FILE* file) {
    return static_cast<int32_t>(fileLength(file));
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

}  // namespace STREAMENGINE_SPACE
