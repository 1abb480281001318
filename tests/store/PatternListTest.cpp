#include <gtest/gtest.h>

#include "store/PatternParser.h"
#include "support/Refusal.h"

namespace {

using namespace STREAMENGINE_SPACE;

// How nodes are ordered, grouped and found is what the comparison with the plain matcher sees.
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
