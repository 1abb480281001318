#include "store/record/VQPatternNode.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "support/Exception.h"

namespace STREAMENGINE_SPACE {
namespace {

[[noreturn]] void refuse(const char* side, const char* reason) {
    throw QLT_SPACE::Exception(std::string("compare two pattern nodes: ") + side + reason);
}

std::span<const uint8_t> trieBytes(const VQPatternNode& node, const char* side) {
    if (node.pat == nullptr) refuse(side, "->pat is null");
    const auto& pattern = static_cast<const TriePattern&>(*node.pat);
    if (pattern.isWildcard) refuse(side, " is with wildcard");
    return pattern.sig;
}

std::span<const uint8_t> bmBytes(const VQPatternNode& node, const char* side) {
    if (node.pat == nullptr) refuse(side, "->pat is null");
    return static_cast<const BmPattern&>(*node.pat).sig;
}

struct BytePair {
    std::span<const uint8_t> left;
    std::span<const uint8_t> right;

    /// @return -1, 0 or 1 over the length that both have
    int compareCommon() const {
        const size_t common = std::min(left.size(), right.size());
        const int order = common == 0 ? 0 : std::memcmp(left.data(), right.data(), common);
        return (order > 0) - (order < 0);
    }
};

/// The bytes of both patterns, after all checks. Nodes of different kinds keep their bytes in
/// records of different types, so the kinds are compared before a record is read.
BytePair checkedBytes(const VQPatternNode& left, const VQPatternNode* right) {
    if (right == nullptr) {
        throw QLT_SPACE::Exception("compare two pattern nodes: node1 or node2 is NULL");
    }
    if (left.getType() != right->getType() || left.getType() == VQPatternNode::kTypeNone) {
        throw QLT_SPACE::Exception("compare two pattern nodes: bad pattern node type");
    }
    const auto bytesOf = left.getType() == VQPatternNode::kTypeTrie ? trieBytes : bmBytes;
    // Braced, so that node1 is checked before node2.
    return BytePair{bytesOf(left, "node1"), bytesOf(*right, "node2")};
}

}  // namespace

size_t VQPatternList::size() const {
    size_t count = 0;
    for (const VQPatternNode* node = first(); node != nullptr; node = node->next) ++count;
    return count;
}

void VQPatternList::pushFront(VQPatternNode& node) {
    node.next = head;
    head = &node;
}

int VQPatternNode::compareTo(const VQPatternNode* other) const {
    const BytePair bytes = checkedBytes(*this, other);
    const int order = bytes.compareCommon();
    if (order != 0) return order;
    return (bytes.left.size() > bytes.right.size()) - (bytes.left.size() < bytes.right.size());
}

bool VQPatternNode::beginWith(const VQPatternNode* other) const {
    const BytePair bytes = checkedBytes(*this, other);
    return bytes.right.size() <= bytes.left.size() && bytes.compareCommon() == 0;
}

}  // namespace STREAMENGINE_SPACE
