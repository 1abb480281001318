#include <gtest/gtest.h>

#include "engine/ZVKUtil.h"
#include "store/PatternParser.h"
#include "support/Exception.h"

namespace {

using namespace STREAMENGINE_SPACE;

std::unique_ptr<VQPatternNode> trieNode(std::string_view bytes, std::string name = "") {
    auto pattern = std::make_unique<TriePattern>();
    pattern->sig.assign(bytes.begin(), bytes.end());
    pattern->length = static_cast<uint32_t>(bytes.size());
    pattern->virName = std::move(name);
    return std::make_unique<TriePatternNode>(std::move(pattern));
}

std::unique_ptr<VQPatternNode> bmNode(std::string_view bytes) {
    auto pattern = std::make_unique<BmPattern>();
    pattern->sig.assign(bytes.begin(), bytes.end());
    pattern->length = static_cast<uint32_t>(bytes.size());
    return std::make_unique<BmPatternNode>(std::move(pattern));
}

std::vector<std::string> contents(const VQPatternList& list) {
    std::vector<std::string> all;
    for (auto* node = list.first(); node != nullptr; node = node->next.get()) {
        const auto& sig = static_cast<const TriePattern&>(*node->pat).sig;
        all.emplace_back(sig.begin(), sig.end());
        all.back() += node->pat->virName;
    }
    return all;
}

using Strings = std::vector<std::string>;

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
        for (const auto make : {+[](std::string_view b) { return trieNode(b); }, +bmNode}) {
            const auto left = make(row.left);
            const auto right = make(row.right);
            EXPECT_EQ(left->compareTo(right.get()), row.order) << row.left << row.right;
            EXPECT_EQ(left->beginWith(right.get()), row.leftBeginsWithRight);
        }
    }
}

TEST(PatternNode, RefusesWhatCannotBeCompared) {
    const auto plain = trieNode("ab");
    const auto wild = trieNode("ab");
    static_cast<TriePattern&>(*wild->pat).isWildcard = true;
    const TriePatternNode empty(nullptr);
    const BmPatternNode emptyBm(nullptr);
    const auto bm = bmNode("ab");
    const VQPatternNode none(nullptr);
    struct Case {
        const VQPatternNode *left, *right;
        const char* message;
    };
    const Case cases[] = {
        {plain.get(), nullptr, "node1 or node2 is NULL"},
        {plain.get(), bm.get(), "bad pattern node type"},
        {&none, &none, "bad pattern node type"},
        {&empty, wild.get(), "node1->pat is null"},
        {wild.get(), &empty, "node1 is with wildcard"},
        {plain.get(), &empty, "node2->pat is null"},
        {plain.get(), wild.get(), "node2 is with wildcard"},
        {&emptyBm, bm.get(), "node1->pat is null"},
        {bm.get(), &emptyBm, "node2->pat is null"},
    };
    for (const Case& row : cases) {
        for (const bool byOrder : {true, false}) {
            try {
                byOrder ? row.left->compareTo(row.right) : row.left->beginWith(row.right);
                ADD_FAILURE() << row.message;
            } catch (QLT_SPACE::Exception& refusal) {
                EXPECT_EQ(refusal.getMessage(),
                          std::string("compare two pattern nodes: ") + row.message);
            }
        }
    }
}

TEST(PatternParser, GroupsSortedLists) {
    VQPatternList list;
    PatternParser::sortPatternList(list);
    for (const char* bytes : {"ABC", "A", "AB", "Z"}) list.pushFront(trieNode(bytes));
    list.pushFront(trieNode("AB", "/newer"));
    list.pushFront(trieNode("B"));
    PatternParser::sortPatternList(list);
    EXPECT_EQ(contents(list), (Strings{"A", "AB/newer", "AB", "ABC", "B", "Z"}));
    PatternParser::buildSamePrefixList(list);
    EXPECT_EQ(contents(list), (Strings{"A", "B", "Z"}));
    EXPECT_EQ(contents(list.first()->samePrefix), (Strings{"AB/newer", "AB", "ABC"}));
    const auto table = PatternParser::setSortedList(list);
    ASSERT_EQ(table.size(), 3U);
    EXPECT_EQ(table[1].value, list.first()->next.get());
    EXPECT_EQ(*table[1].bytes, 'B');
}

TEST(PatternParser, TablesOfNothing) {
    static std::vector<std::string> sent;
    ops.logFunction = [](const char* line) { sent.emplace_back(line); };
    ops.logLevel = 3;
    VQPatternList list;
    EXPECT_TRUE(PatternParser::setSortedList(list).empty());
    EXPECT_TRUE(sent.back().ends_with("]In setSortedList, node number is zero"));
    list.pushFront(std::make_unique<VQPatternNode>(std::make_unique<BmPattern>()));
    EXPECT_TRUE(PatternParser::setSortedList(list).empty());
    EXPECT_EQ(sent.back(), "1bad patternNode type");
    ops = {};
}

TEST(FastMatcher, FindsAPrefixOfTheText) {
    const auto entry = [](const char* text) {
        return PatInfo{reinterpret_cast<const uint8_t*>(text),
                       static_cast<uint32_t>(std::string_view(text).size()), text};
    };
    const std::vector<PatInfo> table = {entry("ab"), entry("abc"), entry("b"), entry("\x80")};
    const auto find = [](const std::vector<PatInfo>& entries, std::string_view text) {
        FastMatcher matcher;
        matcher.SetPatternList(entries.data(), static_cast<unsigned int>(entries.size()));
        return static_cast<const char*>(
            matcher.find(reinterpret_cast<const unsigned char*>(text.data()),
                         static_cast<unsigned int>(text.size())));
    };
    const std::vector<PatInfo> three(table.begin(), table.begin() + 3);
    EXPECT_STREQ(find(three, "abcd"), "abc");  // the middle entry is met first
    EXPECT_STREQ(find(three, "b"), "b");
    for (const char* text : {"ax", "a", "c", ""}) EXPECT_EQ(find(three, text), nullptr) << text;
    EXPECT_STREQ(find(table, "\x80z"), "\x80");
    EXPECT_EQ(find(table, "\x7f"), nullptr);
    EXPECT_EQ(find({}, "ab"), nullptr);
    EXPECT_EQ(FastMatcher().find(reinterpret_cast<const unsigned char*>("ab"), 2), nullptr);
}

}  // namespace
