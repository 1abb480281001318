#include "store/index/PartTree.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <tuple>
#include <utility>

namespace STREAMENGINE_SPACE {

/// Sorts the signatures by their parts, so that those with a common path become neighbours, and
/// makes a node of each group that agrees in one part more.
class PartTreeBuilder {
  public:
    PartTreeBuilder(PartTree& made, std::vector<PartTree::Listed> allParts)
        : tree(made), listed(std::move(allParts)) {}

    void build(uint32_t units) {
        listSignatures();
        storeParts();
        std::vector<uint32_t> nodeOf(chains.size(), kNoNode);
        tree.levelStarts.assign(1, 0);
        for (uint32_t depth = 1; addLevel(depth, nodeOf); ++depth) {
            tree.levelStarts.push_back(static_cast<uint32_t>(tree.nodes.size()));
        }
        listUses(units);
        tree.nodes.shrink_to_fit();
        tree.parents.shrink_to_fit();
        tree.parts.shrink_to_fit();
        tree.signatureStarts.shrink_to_fit();
    }

  private:
    /// The parts of one signature.
    struct Chain {
        size_t first;  // in listed
        size_t count;
    };
    /// What nodes with the same parent differ in.
    using Step = std::tuple<uint32_t, bool, uint32_t, uint32_t>;

    const PartTree::Listed& at(const Chain& chain, size_t index) const {
        return listed[chain.first + index];
    }

    /// @return the offset that a first part has to have; none: any; a value that no offset has if
    ///         it cannot match
    static std::optional<int64_t> offsetOf(const TriePattern& part) {
        if (part.partno != 1 || part.offset == nullptr) return std::nullopt;
        return QLT_SPACE::decimalInt64(part.offset);
    }

    static Step stepOf(const PartTree::Listed& part) {
        const TriePattern& pattern = *part.part.pattern;
        if (const auto offset = offsetOf(pattern)) {
            return {part.unit, true, static_cast<uint32_t>(*offset), 0};
        }
        return {part.unit, false, pattern.minDistance, pattern.maxDistance};
    }

    /// Of a signature whose line was refused half-way the last parts are missing: it takes part,
    /// but never completes. One whose offset is no stream offset is left out.
    void listSignatures() {
        std::sort(listed.begin(), listed.end(), [](const auto& a, const auto& b) {
            return std::pair(a.part.pattern->sigid, a.part.pattern->partno) <
                   std::pair(b.part.pattern->sigid, b.part.pattern->partno);
        });
        for (size_t i = 0; i < listed.size();) {
            const TriePattern& first = *listed[i].part.pattern;
            Chain chain = {i, 0};
            while (i < listed.size() && listed[i].part.pattern->sigid == first.sigid) {
                if (listed[i].part.pattern->partno == chain.count + 1) ++chain.count;
                ++i;
            }
            const int64_t offset = offsetOf(first).value_or(0);
            const bool mayMatch = offset >= 0 && offset <= std::numeric_limits<uint32_t>::max();
            if (chain.count != 0 && mayMatch) chains.push_back(chain);
        }
        std::sort(chains.begin(), chains.end(),
                  [this](const Chain& a, const Chain& b) { return comesBefore(a, b); });
    }

    /// Signatures with the same steps are sorted by the rank of the last part.
    bool comesBefore(const Chain& a, const Chain& b) const {
        const size_t common = std::min(a.count, b.count);
        for (size_t i = 0; i < common; ++i) {
            const Step stepA = stepOf(at(a, i)), stepB = stepOf(at(b, i));
            if (stepA != stepB) return stepA < stepB;
        }
        if (a.count != b.count) return a.count < b.count;
        return completion(a) < completion(b);
    }

    /// @return the rank of the part that completes a signature; kNoRank if none can
    uint32_t completion(const Chain& chain) const {
        const RankedPart& last = at(chain, chain.count - 1).part;
        return last.pattern->parts == chain.count ? last.rank : kNoRank;
    }

    void storeParts() {
        for (const Chain& chain : chains) {
            tree.signatureStarts.push_back(static_cast<uint32_t>(tree.parts.size()));
            for (size_t i = 0; i < chain.count; ++i) tree.parts.push_back(at(chain, i).part);
        }
        tree.signatureStarts.push_back(static_cast<uint32_t>(tree.parts.size()));
    }

    /// Adds the nodes of one depth, from 1.
    /// @param nodeOf  of each signature the node one level above, replaced by that of this level
    /// @return whether there are any
    bool addLevel(uint32_t depth, std::vector<uint32_t>& nodeOf) {
        const size_t before = tree.nodes.size();
        std::optional<Step> lastStep;
        uint32_t lastParent = kNoNode;
        for (uint32_t i = 0; i < chains.size(); ++i) {
            const uint32_t parent = nodeOf[i];
            nodeOf[i] = kNoNode;
            if (chains[i].count < depth) continue;
            const PartTree::Listed& part = at(chains[i], depth - 1);
            const Step step = stepOf(part);
            if (tree.nodes.size() == before || step != lastStep || parent != lastParent) {
                addNode(step, parent, i);
            }
            lastStep = step;
            lastParent = parent;
            PartNode& node = tree.nodes.back();
            node.endSignature = i + 1;
            if (chains[i].count == depth) {
                node.completedRank = std::min(node.completedRank, completion(chains[i]));
            }
            nodeOf[i] = static_cast<uint32_t>(tree.nodes.size() - 1);
        }
        return tree.nodes.size() != before;
    }

    void addNode(const Step& step, uint32_t parent, uint32_t signature) {
        const auto number = static_cast<uint32_t>(tree.nodes.size());
        const auto& [unit, hasOffset, minDistance, maxDistance] = step;
        tree.nodes.push_back({unit, minDistance, maxDistance, 0, 0, kNoRank, signature, signature});
        tree.parents.push_back(parent);
        withOffset.push_back(hasOffset);
        if (parent == kNoNode) return;
        PartNode& above = tree.nodes[parent];
        if (above.childCount++ == 0) above.firstChild = number;
    }

    // Root nodes of one unit ascend by their offset, as the signatures are sorted.
    void listUses(uint32_t units) {
        tree.uses.resize(units);
        for (uint32_t number = 0; number < tree.nodes.size(); ++number) {
            PartTree::Use& use = tree.uses[tree.nodes[number].unit];
            const uint32_t parent = tree.parents[number];
            if (withOffset[number]) {
                rareUse(use).offsetRoots.push_back(number);
            } else if (parent == kNoNode) {
                use.root = number;
            } else if (tree.nodes[parent].childCount > PartTree::kFewChildren) {
                addCrowded(use, number);
            }
        }
    }

    void addCrowded(PartTree::Use& use, uint32_t number) {
        const bool hasSeveral = use.isRare() && !tree.rareUses[use.rare].crowded.empty();
        if (use.crowded == kNoNode && !hasSeveral) {
            use.crowded = number;
            return;
        }
        std::vector<uint32_t>& several = rareUse(use).crowded;
        if (!hasSeveral) several.push_back(std::exchange(use.crowded, kNoNode));
        several.push_back(number);
    }

    PartTree::RareUse& rareUse(PartTree::Use& use) {
        if (!use.isRare()) {
            use.rare = static_cast<uint32_t>(tree.rareUses.size());
            tree.rareUses.emplace_back();
        }
        return tree.rareUses[use.rare];
    }

    PartTree& tree;
    std::vector<PartTree::Listed> listed;
    std::vector<Chain> chains;
    std::vector<bool> withOffset;  // by node
};

void PartTree::build(std::vector<Listed> allParts, uint32_t units) {
    PartTreeBuilder(*this, std::move(allParts)).build(units);
}

std::pair<uint32_t, uint32_t> PartTree::childrenWith(const PartNode& parent, uint32_t unit) const {
    const auto first = nodes.begin() + parent.firstChild;
    const auto end = first + parent.childCount;
    const auto begin = std::lower_bound(
        first, end, unit, [](const PartNode& node, uint32_t sought) { return node.unit < sought; });
    const auto last =
        std::find_if(begin, end, [unit](const PartNode& node) { return node.unit != unit; });
    return {static_cast<uint32_t>(begin - nodes.begin()),
            static_cast<uint32_t>(last - nodes.begin())};
}

uint32_t PartTree::depthOf(uint32_t number) const {
    const auto level = std::upper_bound(levelStarts.begin(), levelStarts.end(), number);
    return static_cast<uint32_t>(level - levelStarts.begin());
}

}  // namespace STREAMENGINE_SPACE
