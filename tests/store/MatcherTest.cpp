// The stores and their scanners where the road through a host does not reach.
#include <gtest/gtest.h>

#include "scan/BmScanner.h"
#include "scan/Md5Scanner.h"
#include "scan/TrieScanner.h"
#include "store/ZVKPatternContainer.h"
#include "support/Exception.h"

namespace {

using namespace STREAMENGINE_SPACE;

const unsigned char* bytes(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

std::string nameOf(const VQPattern* pattern) {
    return pattern != nullptr ? EngUtil::scrambled(pattern->virName) : "";
}

class Matchers : public testing::Test {
  protected:
    void add(const std::string& line) { container.addString(line.c_str(), 3, false); }
    std::string trie(TrieScanner& scanner, std::string_view text, unsigned int base = 0) {
        return nameOf(
            scanner.virusFound(bytes(text), static_cast<unsigned int>(text.size()), base));
    }
    PatternContainer container;
};

TEST_F(Matchers, ShortPatternsBecomeInnerNodes) {
    container.addString("Two=4142", 2, true);
    container.addString("Four=41424344", 2, true);
    container.prepare();
    TrieScanner scanner(container.trieTree, nullptr);
    EXPECT_EQ(trie(scanner, "xABx"), "Two");
    EXPECT_EQ(trie(scanner, "ABCD"), "Two");  // its prefix ends first
    EXPECT_EQ(container.trieTree.shortPatternCount, 1);
    EXPECT_EQ(container.trieTree.ac_simple_patterns, 1);
}

TEST_F(Matchers, FailureLinksLeadToTheSuffix) {
    container.addString("A=584142", 2, true);
    container.addString("B=4142", 2, true);
    container.prepare();
    const auto child = [](const TrieNode* node, int c) { return (*node->trans)[size_t(c)]; };
    const TrieNode* root = container.trieTree.root;
    for (int c = 0; c < 256; ++c) EXPECT_NE(child(root, c), nullptr);
    EXPECT_EQ(child(child(child(root, 'X'), 'A'), 'B')->fail, child(child(root, 'A'), 'B'));
}

TEST_F(Matchers, CountsGoOnOverAReset) {
    for (int round = 1; round <= 2; ++round) {
        add("W:0:*:6162??64");
        container.addString("P=61626364656667686970", 2, false);
        container.prepare();
        EXPECT_EQ(container.maxPatternLength, 10);
        EXPECT_EQ(container.trieTree.ac_wildcard_patterns, round);
        EXPECT_EQ(container.trieTree.sigCount, round);
        EXPECT_EQ(container.bmList.sigCount, round);
        TrieScanner scanner(container.trieTree, nullptr);
        EXPECT_EQ(trie(scanner, "..abcd"), "W");
        container.reset();
        EXPECT_FALSE(container.bmList.hasTables());
        EXPECT_EQ(container.trieTree.root, nullptr);
    }
}

TEST_F(Matchers, AnEmptyContainerHoldsTheTypesOnly) {
    container.prepare();
    EXPECT_EQ(container.maxPatternLength, 0);
    EXPECT_EQ(container.trieTree.root, nullptr);
    EXPECT_EQ(container.typeTrieTree.maxPatternLength, 7U);
    container.increaseCount();
    container.increaseCount();
    container.decreaseCount();
    EXPECT_EQ(container.getUsingCount(), 1);
}

TEST_F(Matchers, PartsCarryOverBuffersUntilReset) {
    add("Two:0:*:616263{2-4}646566");
    container.prepare();
    TrieScanner scanner(container.trieTree, nullptr);
    EXPECT_EQ(trie(scanner, "defabc", 100), "");
    EXPECT_EQ(trie(scanner, "def", 106), "");  // gap 0
    EXPECT_EQ(trie(scanner, "def", 110), "Two");
    EXPECT_EQ(trie(scanner, "abc..def", 200), "");  // complete already
    scanner.reset();
    EXPECT_EQ(trie(scanner, "def", 300), "");
    EXPECT_EQ(trie(scanner, "abc....def", 310), "Two");
}

TEST_F(Matchers, ShiftTableMatchesInsideTheBufferOnly) {
    container.addString("Twelve=616263646566676869706172", 2, false);
    container.addString("Ten=30616263646566676869", 2, false);
    container.prepare();
    BmScanner scanner(container.bmList);
    const auto find = [&](std::string_view text) {
        return nameOf(scanner.virusFound(bytes(text), static_cast<unsigned int>(text.size()), 0));
    };
    EXPECT_EQ(find("abcdefghip"), "");
    EXPECT_EQ(find("abcdefghipa"), "");
    EXPECT_EQ(find("xxabcdefghipar"), "Twelve");
    EXPECT_EQ(find("0abcdefghi"), "Ten");
    EXPECT_EQ(find("0abcdefgh"), "");
    EXPECT_EQ(find("0abcdefghipar"), "Ten");  // starts one to the left
    const std::string_view text = "..abcdefghipar..";
    scanner.virusFound(bytes(text), 16, 0);
    EXPECT_EQ(scanner.getMatchPosition(), bytes(text) + 14);
    scanner.reset();
    EXPECT_EQ(scanner.getMatchPosition(), nullptr);
}

TEST_F(Matchers, DigestsByPoolOrOneByOne) {
    const std::string digests[] = {"900150983cd24fb0d6963f7d28e17f72",
                                   "0cc175b9c0f1b6a831c399e269772661"};
    EXPECT_FALSE(container.md5List.allocate(0));
    EXPECT_FALSE(container.md5List.isPooled());
    for (const bool pooled : {false, true}) {
        container.reset();
        if (pooled) {
            ASSERT_TRUE(container.md5List.allocate(2));
        }
        container.addString((digests[0] + ":3:Abc").c_str(), 1, false);
        container.addString((digests[1] + ":9:WrongSize").c_str(), 1, false);
        if (pooled) {  // the pool is used up
            EXPECT_THROW(container.addString((digests[1] + ":1:A").c_str(), 1, false),
                         QLT_SPACE::Exception);
            ASSERT_TRUE(container.md5List.allocate(1));
        }
        container.addString((digests[1] + ":1:A").c_str(), 1, false);
        for (const auto& [text, name] :
             {std::pair{"abc", "Abc"}, std::pair{"a", "A"}, std::pair{"b", ""}}) {
            Md5Scanner scanner(container.md5List, nullptr);
            scanner.MD5Init();
            scanner.MD5Update(text, static_cast<unsigned int>(std::string_view(text).size()));
            const MD5Pattern* found = scanner.virusFound();
            EXPECT_EQ(found != nullptr ? EngUtil::scrambled(found->virName) : "", name);
        }
    }
}

TEST_F(Matchers, DigestsThatShareABucket) {
    // 211 * d0 + 37 * d1 + d2 is equal for the heads 00 06 00 and 01 00 0b.
    const std::string tail(26, '0');
    container.addString(("000600" + tail + ":1:Low").c_str(), 1, false);
    container.addString(("01000b" + tail + ":1:High").c_str(), 1, false);
    container.addString(("000600" + tail + ":1:Newer").c_str(), 1, false);
    Md5Scanner scanner(container.md5List, nullptr);
    const uint8_t low[16] = {0, 6, 0};
    const uint8_t high[16] = {1, 0, 11};
    EXPECT_EQ(EngUtil::scrambled(scanner.virusFoundMD5(low, 1)->virName), "Newer");
    EXPECT_EQ(EngUtil::scrambled(scanner.virusFoundMD5(high, 1)->virName), "High");
    EXPECT_EQ(scanner.virusFoundMD5(high, 2), nullptr);
}

}  // namespace
