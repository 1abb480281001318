#include "store/load/PatternLists.h"

#include <algorithm>
#include <cassert>
#include <new>
#include <utility>

#include "support/Log.h"

namespace STREAMENGINE_SPACE {
namespace {

constexpr const char* kUnit = "ZVKPatternContainer";

VQPatternList& samePrefixOf(VQPatternNode& node) {
    assert(node.getType() == VQPatternNode::kTypeTrie);
    return static_cast<TriePatternNode&>(node).samePrefix;
}

/// @return whether the entry could be made; false for a node of neither kind
bool describe(const VQPatternNode& node, PatInfo& entry) {
    switch (node.getType()) {
        case VQPatternNode::kTypeTrie:
            entry.bytes = static_cast<const TriePattern&>(*node.pat).sig.data();
            break;
        case VQPatternNode::kTypeBm:
            entry.bytes = static_cast<const BmPattern&>(*node.pat).sig.data();
            break;
        default:
            return false;
    }
    entry.length = node.pat->length;
    entry.value = &node;
    return true;
}

}  // namespace

void PatternLists::sortPatternList(VQPatternList& list) {
    std::vector<VQPatternNode*> nodes;
    nodes.reserve(list.size());
    for (VQPatternNode* node = list.head; node != nullptr; node = node->next) nodes.push_back(node);
    std::stable_sort(nodes.begin(), nodes.end(), [](const auto* left, const auto* right) {
        return left->compareTo(right) < 0;
    });
    list = {};
    for (; !nodes.empty(); nodes.pop_back()) list.pushFront(*nodes.back());
}

// FastMatcher answers with one entry, so the table must not hold two that begin the same text. In
// sorted order all patterns that begin with P come right after P. So one pass is enough: the first
// pattern that does not begin with the leading one becomes the next leading one.
//
// Example, the list on the left, the samePrefix lists on the right:
//
//   abc, abcd, abcde, abx, b    becomes    abc -> abcd, abcde
//                                          abx
//                                          b
//
// At a text that begins with "abcdx" FastMatcher finds "abc". If the scanner does not accept it,
// because of its offset for instance, it tries "abcd" and "abcde" one by one.
void PatternLists::buildSamePrefixList(VQPatternList& list) {
    if (list.empty()) return;
    VQPatternNode* leading = list.head;
    VQPatternNode** samePrefixEnd = &samePrefixOf(*leading).head;
    while (leading->next != nullptr) {
        VQPatternNode* node = leading->next;
        if (node->beginWith(leading)) {
            leading->next = std::exchange(node->next, nullptr);
            *samePrefixEnd = node;
            samePrefixEnd = &node->next;
        } else {
            leading = node;
            samePrefixEnd = &samePrefixOf(*leading).head;
        }
    }
}

std::vector<PatInfo> PatternLists::setSortedList(const VQPatternList& list) {
    if (list.empty()) {
        ZVK_DEBUG("In %s, node number is zero", "setSortedList");
        return {};
    }
    std::vector<PatInfo> table;
    try {
        table.reserve(list.size());
    } catch (const std::bad_alloc&) {
        ZVK_ERROR("fail to allocate memory for patInfo");
        return {};
    }
    for (const VQPatternNode* node = list.first(); node != nullptr; node = node->next) {
        if (!describe(*node, table.emplace_back())) {
            ZVK_ERROR("bad patternNode type");
            return {};
        }
    }
    return table;
}

}  // namespace STREAMENGINE_SPACE
