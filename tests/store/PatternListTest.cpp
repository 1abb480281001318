#include <gtest/gtest.h>

#include "store/load/PatternLists.h"
#include "support/Refusal.h"

namespace {

using namespace STREAMENGINE_SPACE;

TriePattern patternOf(std::string_view bytes) {
    TriePattern pattern;
    pattern.sig = {reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()};
    return pattern;
}

// How nodes are grouped and found is what the comparison with the plain matcher sees.
TEST(PatternNode, ComparesUnsignedBytesAndHeads) {
    const auto abText = patternOf("AB"), abcText = patternOf("ABC"), highText = patternOf("\x80");
    const TriePatternNode ab(&abText), abc(&abcText), high(&highText);
    EXPECT_EQ(ab.compareTo(&abc), -1);
    EXPECT_EQ(high.compareTo(&abc), 1);
    EXPECT_FALSE(ab.beginWith(&abc));
    EXPECT_TRUE(abc.beginWith(&ab));
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
