// The stores where the road through a host does not reach.
#include <gtest/gtest.h>

#include <algorithm>

#include "pattern/line/Md5Line.h"
#include "pattern/line/SignatureLine.h"
#include "scan/digest/Md5Scanner.h"
#include "scan/plain/TrieScanner.h"
#include "store/PatternContainer.h"
#include "support/Exception.h"
#include "support/ScrambledName.h"
#include "support/Utils.h"

namespace {

using namespace STREAMENGINE_SPACE;

TEST(PatternContainer, CountsGoOnOverAReset) {
    PatternContainer container;
    container.prepare();
    EXPECT_EQ(container.maxPatternLength, 0);  // the type signatures do not count
    for (int round = 1; round <= 2; ++round) {
        container.reset();
        addSignatureLine(container, "W:0:*:6162??64", 3, false);
        addSignatureLine(container, "P=61626364656667686970", 2, false);
        addSignatureLine(container, "Short=6162", 2, true);
        container.prepare();
        EXPECT_EQ(container.maxPatternLength, 10);
        EXPECT_EQ(container.trieTree.ac_wildcard_patterns, round);
        EXPECT_EQ(container.trieTree.shortPatternCount, round);
        EXPECT_EQ(container.trieTree.sigCount, 2 * round);
        EXPECT_EQ(container.bmList.sigCount, round);
        ScanResult details;
        TrieScanner scanner(container.trieTree, &details);
        const SearchText text = {reinterpret_cast<const uint8_t*>("..abcd"), 6};
        EXPECT_EQ(scrambled(scanner.virusFound(text)->virName), "W");
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
        addMd5Line(list, ("000600" + tail + ":1:Low").c_str());
        addMd5Line(list, ("01000b" + tail + ":1:High").c_str());
        const std::string third = "000600" + tail + ":1:Newer";
        if (pooled) {  // the pool is used up
            EXPECT_THROW(addMd5Line(list, third.c_str()), QLT_SPACE::Exception);
            EXPECT_TRUE(list.allocate(1));
        }
        addMd5Line(list, third.c_str());
        list.prepare();
        const Md5Scanner scanner(list, nullptr);
        EXPECT_EQ(scrambled(scanner.virusFoundMD5(low, 1)->virName), "Newer");
        EXPECT_EQ(scrambled(scanner.virusFoundMD5(high, 1)->virName), "High");
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
        addSignatureLine(container,
                         Utils::formatString("%d=%02x616263646566676869", line, first).c_str(), 2,
                         false);
        addSignatureLine(
            container,
            Utils::formatString("%02x%02x%02x%026d:1:%d", first, rest / 37, rest % 37, 0, line)
                .c_str(),
            1, false);
        expected.emplace_back(first, -line);
    }
    container.prepare();
    std::sort(expected.begin(), expected.end());
    std::vector<std::pair<int, int>> plain, digests;
    const auto numberOf = [](const char* name) { return -std::stoi(scrambled(name)); };
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
