// VQPatternNode: a pattern's place in one of the lists of a trie node or a shift-table bucket.
#pragma once

#include "store/record/VQPattern.h"

namespace STREAMENGINE_SPACE {

class VQPatternNode;

/// A singly linked list. It borrows its nodes, which live in their set's RecordArena.
struct VQPatternList {
    bool empty() const { return head == nullptr; }
    size_t size() const;  // walks the list
    const VQPatternNode* first() const { return head; }
    void pushFront(VQPatternNode& node);

    VQPatternNode* head = nullptr;
};

/// Borrows its pattern and the next node. The comparisons check the kinds of both nodes.
class VQPatternNode {
  public:
    static constexpr int kTypeNone = 0;
    static constexpr int kTypeTrie = 1;
    static constexpr int kTypeBm = 2;

    explicit VQPatternNode(const VQPattern* pattern) : pat(pattern) {}
    VQPatternNode(const VQPatternNode&) = delete;
    VQPatternNode& operator=(const VQPatternNode&) = delete;

    virtual int getType() const { return kTypeNone; }

    /// Orders plain patterns by their bytes, unsigned; a pattern sorts before any that it begins.
    /// @return -1, 0 or 1
    /// @throws QLT_SPACE::Exception if a node or pattern is missing, of another kind or a wildcard
    int compareTo(const VQPatternNode* other) const;
    /// @return whether this node's pattern begins with the other's
    /// @throws QLT_SPACE::Exception as compareTo()
    bool beginWith(const VQPatternNode* other) const;

    VQPatternNode* next = nullptr;
    const VQPattern* pat;

  protected:
    ~VQPatternNode() = default;  // an arena frees nodes as they are
};

class TriePatternNode final : public VQPatternNode {
  public:
    explicit TriePatternNode(const TriePattern* pattern) : VQPatternNode(pattern) {}
    int getType() const override { return kTypeTrie; }
    const TriePattern& pattern() const { return static_cast<const TriePattern&>(*pat); }

    VQPatternList samePrefix;  // longer patterns that begin with this one, ascending
};

class BmPatternNode final : public VQPatternNode {
  public:
    explicit BmPatternNode(const BmPattern* pattern) : VQPatternNode(pattern) {}
    int getType() const override { return kTypeBm; }
    const BmPattern& pattern() const { return static_cast<const BmPattern&>(*pat); }
};

}  // namespace STREAMENGINE_SPACE
