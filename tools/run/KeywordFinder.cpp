#include "run/KeywordFinder.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <stdexcept>
#include <utility>

#include "keyword/ZVKKeywordMatcher.h"
#include "scan/BodyMatcher.h"
#include "set/LoweredText.h"
#include "store/load/BmList.h"
#include "support/DecimalNumber.h"
#include "support/ScrambledName.h"

namespace zvk {

namespace {

using STREAMENGINE_SPACE::BmList;
using STREAMENGINE_SPACE::BodyMatcher;
using STREAMENGINE_SPACE::scrambled;
using STREAMENGINE_SPACE::SearchText;
using STREAMENGINE_SPACE::ZVKKeywordMatcher;

}  // namespace

class KeywordFinder::Layer {
  public:
    struct Member {
        size_t index;  // in the finder's list
        std::string keyword;
    };

    explicit Layer(std::vector<Member> layerMembers) : members(std::move(layerMembers)) {
        std::vector<const char*> array;
        for (const Member& member : members) array.push_back(member.keyword.c_str());
        array.push_back(nullptr);
        if (!matcher.update(array.data())) throw std::runtime_error("cannot prepare the keywords");
    }

    /// @param text  followed by SearchText::kSlack readable bytes
    void search(std::string_view text, std::vector<bool>& found) const {
        STREAMENGINE_SPACE::ScanResult noDetails;
        BodyMatcher scanner(matcher.keywordSet(), noDetails);
        for (size_t at = 0; at < text.size();) {
            STREAMENGINE_SPACE::DigestFeed nothing;
            const SearchText rest = {reinterpret_cast<const uint8_t*>(text.data()) + at,
                                     static_cast<uint32_t>(text.size() - at)};
            const auto match = scanner.virusFound(rest, nothing);
            if (!match) return;
            const Member& member = memberNamed(match.pattern->virName);
            found[member.index] = true;
            at += match.end - member.keyword.size() + 1;
        }
    }

  private:
    const Member& memberNamed(const char* name) const {
        const std::string index = scrambled(name);
        return members[static_cast<size_t>(QLT_SPACE::decimalInt64(index.c_str()))];
    }

    std::vector<Member> members;
    ZVKKeywordMatcher matcher;
};

KeywordFinder::KeywordFinder(const std::vector<std::string>& keywords) {
    std::vector<Layer::Member> sorted;
    sorted.reserve(keywords.size());
    for (const auto& keyword : keywords) sorted.push_back({sorted.size(), loweredText(keyword)});
    std::sort(sorted.begin(), sorted.end(),
              [](const auto& a, const auto& b) { return a.keyword < b.keyword; });
    // A keyword's layer is its store and its depth: how many keywords of that store are prefixes of
    // it. In sorted order, its prefixes come before it, and between a prefix and the keyword there
    // are only keywords with that same prefix. So a stack of prefixes is enough: "ab", "abc",
    // "abcd", "abx" have the depths 0, 1, 2 and 1.
    std::map<std::pair<bool, size_t>, std::vector<Layer::Member>> groups;
    std::vector<std::string> beginnings[2];
    for (auto& member : sorted) {
        const bool isLong = member.keyword.size() >= BmList::kWindow;
        auto& nested = beginnings[isLong ? 1 : 0];
        while (!nested.empty() && !member.keyword.starts_with(nested.back())) nested.pop_back();
        longestKeyword = std::max(longestKeyword, member.keyword.size());
        const size_t depth = nested.size();
        nested.push_back(member.keyword);
        groups[{isLong, depth}].push_back(std::move(member));
    }
    for (auto& [place, members] : groups) {
        layers.push_back(std::make_unique<Layer>(std::move(members)));
    }
}

KeywordFinder::~KeywordFinder() = default;

void KeywordFinder::search(std::string_view text, std::vector<bool>& found) const {
    std::string padded(text);  // a search reads a few bytes after the end
    padded.append(STREAMENGINE_SPACE::SearchText::kSlack, '\0');
    const std::string_view readable(padded.data(), text.size());
    for (const auto& layer : layers) layer->search(readable, found);
}

}  // namespace zvk
