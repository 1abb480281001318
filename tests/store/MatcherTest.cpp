// The stores where the road through a host does not reach.
#include <gtest/gtest.h>

#include <algorithm>

#include "scan/Md5Scanner.h"
#include "scan/TrieScanner.h"
#include "store/ZVKPatternContainer.h"
#include "support/Exception.h"
#include "support/Utils.h"

namespace {

using namespace STREAMENGINE_SPACE;

TEST(PatternContainer, CountsGoOnOverAReset) {
    PatternContainer container;
    container.prepare();
    EXPECT_EQ(container.maxPatternLength, 0);  // the type signatures do not count
    for (int round = 1; round <= 2; ++round) {
        container.reset();
        container.addString("W:0:*:6162??64", 3, false);
        container.addString("P=61626364656667686970", 2, false);
        container.addString("Short=6162", 2, true);
        container.prepare();
        EXPECT_EQ(container.maxPatternLength, 10);
        EXPECT_EQ(container.trieTree.ac_wildcard_patterns, round);
        EXPECT_EQ(container.trieTree.shortPatternCount, round);
        EXPECT_EQ(container.trieTree.sigCount, 2 * round);
        EXPECT_EQ(container.bmList.sigCount, round);
        ScanResult details;
        TrieScanner scanner(container.trieTree, &details);
        const auto* text = reinterpret_cast<const unsigned char*>("..abcd");
        EXPECT_EQ(EngUtil::scrambled(scanner.virusFound(text, 6, 0)->virName), "W");
    }
}

TEST(MD5List, RecordsByPoolOrOneByOne) {
    // 211 * d0 + 37 * d1 + d2 is equal for the heads 00 06 00 and 01 00 0b: they share a bucket.
    const std::string tail(26, '0');
    const uint8_t low[16] = {0, 6, 0};
    const uint8_t high[16] = {1, 0, 11};
    MD5List list;
    EXPECT_FALSE(list.allocate(0));
    for (const bool pooled : {false, true}) {
        list.reset();
        EXPECT_FALSE(list.isPooled());
        if (pooled) {
            EXPECT_TRUE(list.allocate(2));
        }
        list.addString(("000600" + tail + ":1:Low").c_str());
        list.addString(("01000b" + tail + ":1:High").c_str());
        const std::string third = "000600" + tail + ":1:Newer";
        if (pooled) {  // the pool is used up
            EXPECT_THROW(list.addString(third.c_str()), QLT_SPACE::Exception);
            EXPECT_TRUE(list.allocate(1));
        }
        list.addString(third.c_str());
        list.prepare();
        const Md5Scanner scanner(list, nullptr);
        EXPECT_EQ(EngUtil::scrambled(scanner.virusFoundMD5(low, 1)->virName), "Newer");
        EXPECT_EQ(EngUtil::scrambled(scanner.virusFoundMD5(high, 1)->virName), "High");
        EXPECT_EQ(scanner.virusFoundMD5(high, 2), nullptr);
    }
}

TEST(Buckets, AscendByFirstByteNewestFirst) {
    PatternContainer container;
    std::vector<std::pair<int, int>> expected;  // first byte, minus the number of the line
    for (int line = 0; line < 100; ++line) {
        const int first = line * 33 % 41;
        const int rest = 40 * 211 - first * 211;  // so that all digests hash alike
        using QLT_SPACE::Utils;
        container.addString(Utils::formatString("%d=%02x616263646566676869", line, first).c_str(),
                            2, false);
        container.addString(
            Utils::formatString("%02x%02x%02x%026d:1:%d", first, rest / 37, rest % 37, 0, line)
                .c_str(),
            1, false);
        expected.emplace_back(first, -line);
    }
    container.prepare();
    std::sort(expected.begin(), expected.end());
    std::vector<std::pair<int, int>> plain, digests;
    const auto numberOf = [](const char* name) { return -std::stoi(EngUtil::scrambled(name)); };
    for (const auto& bucket : container.bmList.bm_suffix) {
        for (auto* node = bucket.first(); node != nullptr; node = node->next) {
            const auto& pattern = static_cast<const BmPattern&>(*node->pat);
            plain.emplace_back(pattern.sig[0], numberOf(pattern.virName));
        }
    }
    for (const auto* node : container.md5List.bm_suffix) {
        for (; node != nullptr; node = node->next) {
            digests.emplace_back(node->pat->digest[0], numberOf(node->pat->virName));
        }
    }
    EXPECT_EQ(plain, expected);
    EXPECT_EQ(digests, expected);
}

}  // namespace
