// PartTree: the multi-part signatures of a set, as a tree of their parts.
//
// Signatures that agree in their first parts, and in the gaps between these, have made the same
// progress in every stream until they differ. So they share a path of the tree, and a search keeps
// one progress for all of them. Example, with "ab*cd", "ab*ef{2-9}gh" and "ab*ef{2-9}ij":
//
//   ab ─┬─ *cd           first signature
//       └─ *ef ─┬─ {2-9}gh   second
//               └─ {2-9}ij   third
//
// Nodes are numbered level by level, so that the children of a node have consecutive numbers.
#pragma once

#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "store/index/IndexUnit.h"

namespace STREAMENGINE_SPACE {

constexpr uint32_t kNoNode = 0xFFFFFFFF;
constexpr uint32_t kNoRank = 0xFFFFFFFF;

/// A part of all signatures below it.
struct PartNode {
    uint32_t unit;
    uint32_t minDistance;  // as in TriePattern; of a first part with an offset this offset
    uint32_t maxDistance;
    uint32_t firstChild;
    uint32_t childCount;
    uint32_t completedRank;   // of the first signature that ends here; kNoRank if none does
    uint32_t firstSignature;  // the signatures below, as numbers in sorted order
    uint32_t endSignature;

    /// @return the first stream offset at which the part may match
    /// @param previousEnd  stream offset just after the part before it
    uint64_t earliest(uint32_t previousEnd) const { return uint64_t{previousEnd} + minDistance; }
    /// @return whether the part may match at an offset that is not before earliest()
    bool reaches(uint32_t pos, uint32_t earliestPos) const {
        return maxDistance == 0 || pos - earliestPos <= int64_t{maxDistance} - minDistance;
    }
};

/// A part of one signature.
struct RankedPart {
    const TriePattern* pattern;
    uint32_t rank;  // its place in the order in which all parts are tried
};

/// Built once, then read by any number of scanners.
class PartTree {
  public:
    // The children of a node with more of them are not woken one by one when it is accepted.
    static constexpr uint32_t kFewChildren = 8;

    /// A part on the way into the tree.
    struct Listed {
        uint32_t unit;
        RankedPart part;
    };

    /// Builds an empty tree.
    /// @param parts  all parts of multi-part signatures, in any order
    /// @param units  how many units these parts have
    void build(std::vector<Listed> parts, uint32_t units);

    uint32_t unitCount() const { return static_cast<uint32_t>(uses.size()); }
    size_t nodeCount() const { return nodes.size(); }
    const PartNode& node(uint32_t number) const { return nodes[number]; }

    /// How a unit is used in the tree.
    struct Use {
        uint32_t root = kNoNode;     // the node of first parts without an offset
        uint32_t crowded = kNoNode;  // the node that is one of more than kFewChildren, if just one
        uint32_t rare = kNoNode;     // number of its RareUse; kNoNode: none

        bool isRare() const { return rare != kNoNode; }
        /// @return whether an occurrence may count when a stream begins
        bool countsFirst() const { return root != kNoNode || crowded != kNoNode || isRare(); }
    };
    const Use& useOf(uint32_t unit) const { return uses[unit]; }

    /// Other nodes of a unit that are not woken when the part before them is accepted.
    struct RareUse {
        std::vector<uint32_t> offsetRoots;  // of first parts with an offset, by the offset
        std::vector<uint32_t> crowded;      // those that are one of many, if there are several
    };
    /// @param use  a rare one
    const RareUse& rareUseOf(const Use& use) const { return rareUses[use.rare]; }
    uint32_t parentOf(uint32_t number) const { return parents[number]; }
    /// @return the first of a node's children that have a unit, and the one after their last
    std::pair<uint32_t, uint32_t> childrenWith(const PartNode& parent, uint32_t unit) const;

    /// @return how many parts lead to a node, itself included
    uint32_t depthOf(uint32_t number) const;
    /// @return part number depth, from 1, of a signature below a node of that depth
    const RankedPart& partOf(uint32_t signature, uint32_t depth) const {
        return parts[signatureStarts[signature] + depth - 1];
    }
    /// @return the record of the signature that a node completes first
    const TriePattern& completedBy(uint32_t number) const {
        return *partOf(nodes[number].firstSignature, depthOf(number)).pattern;
    }

  private:
    friend class PartTreeBuilder;

    std::vector<PartNode> nodes;
    std::vector<uint32_t> parents;      // by node; kNoNode of a first part
    std::vector<uint32_t> levelStarts;  // the first node of each level, and the end of the last
    std::vector<Use> uses;              // by unit
    std::vector<RareUse> rareUses;
    std::vector<RankedPart> parts;          // signature by signature
    std::vector<uint32_t> signatureStarts;  // in parts, and the end of the last
};

}  // namespace STREAMENGINE_SPACE
