#include "support/LoadPosition.h"

#include <array>
#include <cstdio>

#include "support/Utils.h"

namespace STREAMENGINE_SPACE {
namespace {

constinit thread_local std::array<char, QLT_SPACE::Utils::kFormatRoom> currentFile{};
constinit thread_local int32_t currentLine = 0;

}  // namespace

const char* LoadPosition::file() {
    return currentFile.data();
}

void LoadPosition::setFile(const char* name) {
    std::snprintf(currentFile.data(), currentFile.size(), "%s", name);
}

int32_t LoadPosition::line() {
    return currentLine;
}

void LoadPosition::setLine(int32_t number) {
    currentLine = number;
}

}  // namespace STREAMENGINE_SPACE
