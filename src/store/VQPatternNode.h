// VQPatternNode: a pattern's place in one of the lists of a trie node or a shift-table bucket.
#pragma once

#include <memory>

#include "store/VQPattern.h"

namespace STREAMENGINE_SPACE {

class VQPatternNode;

/// A singly linked list that owns its nodes. Long lists are freed in a loop, not recursively.
struct VQPatternList {
    VQPatternList() = default;
    VQPatternList(VQPatternList&&) = default;
    VQPatternList& operator=(VQPatternList&& other) noexcept;
    VQPatternList(const VQPatternList&) = delete;
    VQPatternList& operator=(const VQPatternList&) = delete;
    ~VQPatternList() { clear(); }

    bool empty() const { return head == nullptr; }
    size_t size() const;  // walks the list
    const VQPatternNode* first() const { return head.get(); }
    void pushFront(std::unique_ptr<VQPatternNode> node);
    /// @return the first node, which leaves the list; the list must not be empty
    std::unique_ptr<VQPatternNode> popFront();
    void clear();

    std::unique_ptr<VQPatternNode> head;
};

/// Owns its pattern. The kinds differ in getType() alone, which the ordering checks.
class VQPatternNode {
  public:
    static constexpr int kTypeNone = 0;
    static constexpr int kTypeTrie = 1;
    static constexpr int kTypeBm = 2;

    explicit VQPatternNode(std::unique_ptr<VQPattern> pattern) : pat(std::move(pattern)) {}
    VQPatternNode(const VQPatternNode&) = delete;
    VQPatternNode& operator=(const VQPatternNode&) = delete;

    virtual int getType() const { return kTypeNone; }
    virtual ~VQPatternNode() = default;

    /// Orders plain patterns by their bytes, unsigned; a pattern sorts before any that it begins.
    /// @return -1, 0 or 1
    /// @throws QLT_SPACE::Exception if a node or pattern is missing, of another kind or a wildcard
    int compareTo(const VQPatternNode* other) const;
    /// @return whether this node's pattern begins with the other's
    /// @throws QLT_SPACE::Exception as compareTo()
    bool beginWith(const VQPatternNode* other) const;

    std::unique_ptr<VQPatternNode> next;
    VQPatternList samePrefix;  // longer patterns that begin with this one, ascending
    std::unique_ptr<VQPattern> pat;
};

class TriePatternNode final : public VQPatternNode {
  public:
    explicit TriePatternNode(std::unique_ptr<TriePattern> pattern)
        : VQPatternNode(std::move(pattern)) {}
    int getType() const override { return kTypeTrie; }
    const TriePattern& pattern() const { return static_cast<const TriePattern&>(*pat); }
};

class BmPatternNode final : public VQPatternNode {
  public:
    explicit BmPatternNode(std::unique_ptr<BmPattern> pattern)
        : VQPatternNode(std::move(pattern)) {}
    int getType() const override { return kTypeBm; }
    const BmPattern& pattern() const { return static_cast<const BmPattern&>(*pat); }
};

}  // namespace STREAMENGINE_SPACE
