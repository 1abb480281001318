#include "run/KeywordStream.h"

#include <algorithm>

#include "set/LoweredText.h"

namespace zvk {

KeywordStream::KeywordStream(const KeywordFinder& keywordFinder,
                             const std::vector<std::string>& keywordList,
                             std::vector<Finding>& places)
    : finder(keywordFinder), keywords(keywordList), findings(places), found(keywordList.size()) {}

bool KeywordStream::scanChunk(std::string_view chunk) {
    window += loweredText(chunk);
    finder.search(window, found);
    window.erase(0, window.size() - std::min(window.size(), finder.longest() - 1));
    return true;
}

void KeywordStream::end() {
    for (size_t i = 0; i < keywords.size(); ++i) {
        if (found[i]) findings.push_back({keywords[i], 1});
    }
}

}  // namespace zvk
