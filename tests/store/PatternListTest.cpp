#include <gtest/gtest.h>

#include "store/PatternParser.h"
#include "support/Exception.h"

namespace {

using namespace STREAMENGINE_SPACE;
using Strings = std::vector<std::string>;

template <class Node, class Pattern>
std::unique_ptr<VQPatternNode> nodeOf(std::string_view bytes) {
    auto pattern = std::make_unique<Pattern>();
    pattern->sig.assign(bytes.begin(), bytes.end());
    pattern->length = static_cast<uint32_t>(bytes.size());
    return std::make_unique<Node>(std::move(pattern));
}
auto trieNode(std::string_view bytes) {
    return nodeOf<TriePatternNode, TriePattern>(bytes);
}
auto bmNode(std::string_view bytes) {
    return nodeOf<BmPatternNode, BmPattern>(bytes);
}

Strings contents(const VQPatternList& list) {
    Strings all;
    for (auto* node = list.first(); node != nullptr; node = node->next.get()) {
        const auto& sig = static_cast<const TriePattern&>(*node->pat).sig;
        all.emplace_back(sig.begin(), sig.end());
        all.back() += node->pat->virName;
    }
    return all;
}

TEST(PatternNode, Ordering) {
    struct Case {
        std::string_view left, right;
        int order;
        bool leftBeginsWithRight;
    };
    const Case cases[] = {{"AB", "ABC", -1, false},
                          {"ABC", "AB", 1, true},
                          {"AC", "ABC", 1, false},
                          {"AB", "AB", 0, true},
                          {"\x80", "\x7f", 1, false}};
    for (const Case& row : cases) {
        for (const auto make : {trieNode, bmNode}) {
            const auto left = make(row.left);
            const auto right = make(row.right);
            EXPECT_EQ(left->compareTo(right.get()), row.order) << row.left << row.right;
            EXPECT_EQ(left->beginWith(right.get()), row.leftBeginsWithRight);
        }
    }
}

TEST(PatternNode, RefusesWhatCannotBeCompared) {
    const auto wild = trieNode("ab");
    static_cast<TriePattern&>(*wild->pat).isWildcard = true;
    const auto refusal = [&wild](const VQPatternNode* other) {
        try {
            wild->compareTo(other);
        } catch (QLT_SPACE::Exception& reason) {
            return reason.getMessage().substr(27);
        }
        return std::string("none");
    };
    EXPECT_EQ(refusal(nullptr), "node1 or node2 is NULL");
    EXPECT_EQ(refusal(bmNode("ab").get()), "bad pattern node type");
    EXPECT_EQ(refusal(trieNode("ab").get()), "node1 is with wildcard");
}

TEST(PatternParser, SortsAndGroups) {
    VQPatternList list;
    PatternParser::sortPatternList(list);
    EXPECT_TRUE(PatternParser::setSortedList(list).empty());
    for (const char* bytes : {"ABC", "A", "AB", "Z", "AB", "B"}) list.pushFront(trieNode(bytes));
    list.head->next->pat->virName = "/newer";
    PatternParser::sortPatternList(list);
    EXPECT_EQ(contents(list), (Strings{"A", "AB/newer", "AB", "ABC", "B", "Z"}));
    PatternParser::buildSamePrefixList(list);
    EXPECT_EQ(contents(list), (Strings{"A", "B", "Z"}));
    EXPECT_EQ(contents(list.first()->samePrefix), (Strings{"AB/newer", "AB", "ABC"}));
    const auto table = PatternParser::setSortedList(list);
    ASSERT_EQ(table.size(), 3U);
    EXPECT_EQ(table[1].value, list.first()->next.get());
}

TEST(FastMatcher, FindsAPrefixOfTheText) {
    std::vector<PatInfo> table;
    for (const char* text : {"ab", "abc", "b"}) {
        const std::string_view view(text);
        table.push_back({reinterpret_cast<const uint8_t*>(text), unsigned(view.size()), text});
    }
    FastMatcher matcher;
    const auto find = [&matcher](std::string_view text) {
        const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
        const void* found = matcher.find(bytes, static_cast<unsigned int>(text.size()));
        return std::string(found != nullptr ? static_cast<const char*>(found) : "nothing");
    };
    EXPECT_EQ(find("ab"), "nothing");
    matcher.SetPatternList(table.data(), 3);
    EXPECT_EQ(find("abcd"), "abc");  // the middle entry is met first
    EXPECT_EQ(find("b"), "b");
    for (const char* text : {"ax", "a", "c", "", "\x80"}) EXPECT_EQ(find(text), "nothing") << text;
}

}  // namespace
