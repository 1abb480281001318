#include "interface/TestHost.h"

#include <stdlib.h>

#include <algorithm>
#include <fstream>
#include <mutex>

namespace {

std::mutex logMutex;
std::vector<std::string> logLines;

/// Keeps a line; of a debug line "3[unit:12]text" without the line number.
void collectLine(const char* text) {
    std::string line = text;
    const size_t colon = line.find(':');
    const size_t close = line.find(']');
    if (line.starts_with("3[") && colon < close) line.erase(colon, close - colon);
    const std::lock_guard guard(logMutex);
    logLines.push_back(std::move(line));
}

}  // namespace

TempFolder::TempFolder() {
    std::string name = std::filesystem::temp_directory_path() / "zvk-test-XXXXXX";
    folder = mkdtemp(name.data());
}

TempFolder::~TempFolder() {
    std::filesystem::remove_all(folder);
}

std::string TempFolder::write(const std::string& name, std::string_view content) const {
    std::filesystem::create_directories((folder / name).parent_path());
    std::ofstream(folder / name, std::ios::binary) << content;
    return folder / name;
}

Options::~Options() {
    const _ZVKInternalOptions off = {"", 0, 0, 0, 0};
    setInternalOptions(&off);
}

HostLog::HostLog(int level) {
    clear();
    const _ZVKLogOptions options = {level, collectLine};
    setOptions(ZVK_OPTION_LOG, &options);
}

HostLog::~HostLog() {
    const _ZVKLogOptions options = {0, [](const char*) {}};
    setOptions(ZVK_OPTION_LOG, &options);
}

std::vector<std::string> HostLog::lines() const {
    const std::lock_guard guard(logMutex);
    return logLines;
}

bool HostLog::has(const std::string& line) const {
    const auto all = lines();
    return std::find(all.begin(), all.end(), line) != all.end();
}

void HostLog::clear() {
    const std::lock_guard guard(logMutex);
    logLines.clear();
}

int32_t load(std::string_view ending, std::string_view lines,
             int32_t (*loader)(const _ZVKPatternFile*)) {
    const TempFolder folder;
    const std::string path = folder.write("set" + std::string(ending), lines);
    const _ZVKPatternFile files = {path.c_str(), nullptr};
    return loader(&files);
}

std::string hex(std::string_view bytes) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text += {kDigits[byte >> 4], kDigits[byte & 15]};
    }
    return text;
}

int32_t Host::begin() {
    const auto onDetection = [this](std::string_view name) {
        names.emplace_back(name);
        const size_t index = names.size() - 1;
        return zvkengine::Answer{index < answers.size() ? answers[index] : 0};
    };
    const auto onDump = [this](std::string_view bytes) { dumps.emplace_back(bytes); };
    return codeOf([&] { return instance.begin(onDetection, onDump), 0; });
}

int32_t Host::feed(std::string_view chunk) {
    return codeOf([&] {
        const auto count = static_cast<int32_t>(instance.scan(chunk));
        return instance.isRefused() ? ZVK_ERR_NOT_SCANNABLE : count;
    });
}

int32_t Host::end() {
    return codeOf([&] {
        const auto length = static_cast<int32_t>(instance.end());
        return instance.isRefused() ? ZVK_ERR_NOT_SCANNABLE : length;
    });
}

int32_t Host::stream(std::string_view text, size_t chunkLength) {
    begin();
    for (size_t i = 0; i < text.size(); i += chunkLength) feed(text.substr(i, chunkLength));
    return end();
}

const std::vector<std::string>& Host::found(std::string_view text, size_t chunkLength) {
    names.clear();
    stream(text, chunkLength);
    return names;
}
