#include "set/KeywordList.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <unordered_set>

#include "console/Diagnostics.h"
#include "file/FileWalker.h"
#include "file/InputStream.h"
#include "keyword/ZVKKeywordMatcher.h"
#include "set/LoweredText.h"

namespace zvk {

namespace {

using STREAMENGINE_SPACE::ZVKKeywordMatcher;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";  // some editors write it into UTF-8

std::string readFile(const std::string& path) {
    try {
        InputStream file(InputFile{path, true, {}});
        std::string content;
        std::array<char, 65536> chunk{};
        while (const size_t length = file.read(chunk.data(), chunk.size())) {
            content.append(chunk.data(), length);
        }
        const std::string failure = file.failure();
        if (!failure.empty()) throw std::runtime_error(failure);
        return content;
    } catch (const std::runtime_error& error) {
        throw KeywordListError(fmt::format("keyword list {}: {}", path, error.what()));
    }
}

bool isSkipped(std::string_view line) {
    return line.starts_with('#') || line.find_first_not_of(" \t") == line.npos;
}

/// @return why the engine does not accept a keyword; empty if it does
std::string objection(std::string_view keyword) {
    if (keyword.find('\0') != keyword.npos) return "it contains a NUL byte";
    if (keyword.size() >= ZVKKeywordMatcher::kShortestKeyword &&
        keyword.size() <= ZVKKeywordMatcher::kLongestKeyword) {
        return {};
    }
    return fmt::format("it has a length of {}, not of {} to {} bytes", keyword.size(),
                       ZVKKeywordMatcher::kShortestKeyword, ZVKKeywordMatcher::kLongestKeyword);
}

/// @return the start of a line, enough to find it in a file
std::string shortened(std::string_view line) {
    constexpr size_t kShown = 40;  // bytes
    return std::string(line.substr(0, kShown)) + (line.size() > kShown ? "..." : "");
}

}  // namespace

std::vector<std::string> readKeywordLists(const std::vector<std::string>& paths) {
    std::vector<std::string> keywords;
    std::unordered_set<std::string> known;  // in lower case
    for (const std::string& path : paths) {
        const std::string content = readFile(path);
        std::string_view rest = content;
        if (rest.starts_with(kByteOrderMark)) rest.remove_prefix(kByteOrderMark.size());
        for (size_t number = 1; !rest.empty(); ++number) {
            std::string_view line = rest.substr(0, rest.find('\n'));
            rest.remove_prefix(std::min(line.size() + 1, rest.size()));
            if (line.ends_with('\r')) line.remove_suffix(1);
            if (isSkipped(line)) continue;
            const std::string reason = objection(line);
            if (!reason.empty()) {
                complain(fmt::format("{}:{}: keyword left out: {}: {}", path, number, reason,
                                     shortened(line)));
            } else if (known.insert(loweredText(line)).second) {
                keywords.emplace_back(line);
            }
        }
    }
    if (!keywords.empty()) return keywords;
    throw KeywordListError(
        fmt::format("keyword list {}: no keyword is left", fmt::join(paths, ", ")));
}

}  // namespace zvk
