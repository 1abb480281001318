// The stores where no call of a host reaches.
#include <gtest/gtest.h>

#include "pattern/line/Md5Line.h"
#include "pattern/line/SignatureLine.h"
#include "scan/digest/Md5Scanner.h"
#include "scan/plain/TrieScanner.h"
#include "store/PatternContainer.h"
#include "store/load/PatternLists.h"
#include "support/Exception.h"
#include "support/Refusal.h"
#include "support/ScrambledName.h"

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
    // 211 * d0 + 37 * d1 + d2 is equal for the heads 00 06 00 and 01 00 0b: they share a bucket,
    // whose search ends at the first record with a higher d0.
    const std::string tail(26, '0'), third = "01000b" + tail + ":1:High";
    const uint8_t low[16] = {0, 6, 0}, high[16] = {1, 0, 11};
    MD5List list;
    EXPECT_FALSE(list.allocate(0));
    for (const bool pooled : {false, true}) {
        list.reset();
        EXPECT_FALSE(list.isPooled());
        EXPECT_TRUE(!pooled || list.allocate(2));
        addMd5Line(list, ("000600" + tail + ":1:Older").c_str());
        addMd5Line(list, ("000600" + tail + ":1:Newer").c_str());
        if (pooled) {  // the pool is used up
            EXPECT_THROW(addMd5Line(list, third.c_str()), QLT_SPACE::Exception);
            EXPECT_TRUE(list.allocate(1));
        }
        addMd5Line(list, third.c_str());
        list.prepare();
        const Md5Scanner scanner(list, nullptr);
        const auto* lowFound = scanner.virusFoundMD5(low, 1);
        ASSERT_NE(lowFound, nullptr);
        EXPECT_EQ(scrambled(lowFound->virName), "Newer");
        EXPECT_EQ(scrambled(scanner.virusFoundMD5(high, 1)->virName), "High");
        EXPECT_EQ(scanner.virusFoundMD5(high, 2), nullptr);
    }
}

TEST(PatternNode, BeginsWithNoLongerOne) {
    constexpr uint8_t kText[] = {'a', 'b', 'c'};
    TriePattern ab, abc;
    ab.sig = {kText, 2};
    abc.sig = kText;
    const TriePatternNode shorter(&ab), longer(&abc);
    EXPECT_TRUE(longer.beginWith(&shorter));
    EXPECT_FALSE(shorter.beginWith(&longer));
}

TEST(PatternNode, RefusesWhatCannotBeCompared) {
    const TriePattern plainText;
    TriePattern wildcard;
    wildcard.isWildcard = true;
    const BmPattern bmText;
    const TriePatternNode plain(&plainText), wild(&wildcard), none(nullptr);
    const BmPatternNode bm(&bmText);
    const std::tuple<const VQPatternNode&, const VQPatternNode*, std::string> cases[] = {
        {wild, nullptr, "node1 or node2 is NULL"}, {wild, &bm, "bad pattern node type"},
        {wild, &plain, "node1 is with wildcard"},  {plain, &wild, "node2 is with wildcard"},
        {none, &wild, "node1->pat is null"},
    };
    for (const auto& [left, right, reason] : cases) {
        const auto compare = [&left = left, right = right] { left.compareTo(right); };
        EXPECT_EQ(refusalOf(compare), "compare two pattern nodes: " + reason);
    }
}

}  // namespace
