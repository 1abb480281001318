#include <gtest/gtest.h>

#include "store/PatternParser.h"
#include "support/Refusal.h"

namespace {

using namespace STREAMENGINE_SPACE;

TriePatternNode nodeOf(std::string_view bytes) {
    auto pattern = std::make_unique<TriePattern>();
    pattern->sig.assign(bytes.begin(), bytes.end());
    return TriePatternNode(std::move(pattern));
}

// How nodes are grouped and found is what the comparison with the plain matcher sees.
TEST(PatternNode, ComparesUnsignedBytesAndHeads) {
    const auto ab = nodeOf("AB"), abc = nodeOf("ABC"), high = nodeOf("\x80");
    EXPECT_EQ(ab.compareTo(&abc), -1);
    EXPECT_EQ(high.compareTo(&abc), 1);
    EXPECT_FALSE(ab.beginWith(&abc));
    EXPECT_TRUE(abc.beginWith(&ab));
}

TEST(PatternNode, RefusesWhatCannotBeCompared) {
    const TriePatternNode plain(std::make_unique<TriePattern>());
    auto wildcard = std::make_unique<TriePattern>();
    wildcard->isWildcard = true;
    const TriePatternNode wild(std::move(wildcard));
    const BmPatternNode bm(std::make_unique<BmPattern>());
    const std::tuple<const VQPatternNode&, const VQPatternNode*, std::string> cases[] = {
        {wild, nullptr, "node1 or node2 is NULL"},
        {wild, &bm, "bad pattern node type"},
        {wild, &plain, "node1 is with wildcard"},
        {plain, &wild, "node2 is with wildcard"},
    };
    for (const auto& [left, right, reason] : cases) {
        const auto compare = [&left = left, right = right] { left.compareTo(right); };
        EXPECT_EQ(refusalOf(compare), "compare two pattern nodes: " + reason);
    }
}

}  // namespace
