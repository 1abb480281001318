#include "store/index/UnitList.h"

#include <algorithm>
#include <functional>
#include <new>
#include <string_view>
#include <unordered_map>

#include "store/load/BmList.h"
#include "store/load/TrieTree.h"

namespace STREAMENGINE_SPACE {
namespace {

std::string_view contentOf(const TriePattern& pattern) {
    const bool isWildcard = pattern.isWildcard;
    const void* const bytes = isWildcard ? static_cast<const void*>(pattern.symbols.data())
                                         : static_cast<const void*>(pattern.sig.data());
    const size_t size = isWildcard ? pattern.symbols.size() * sizeof(Symbol) : pattern.sig.size();
    return {static_cast<const char*>(bytes), size};
}

/// Parts with equal keys match the same texts.
struct PartContent {
    const TriePattern* pattern;

    bool operator==(const PartContent& other) const {
        return pattern->isWildcard == other.pattern->isWildcard &&
               contentOf(*pattern) == contentOf(*other.pattern) &&
               std::ranges::equal(pattern->groups, other.pattern->groups,
                                  [](auto a, auto b) { return std::ranges::equal(a, b); });
    }
};

struct PartContentHash {
    size_t operator()(const PartContent& content) const {
        return std::hash<std::string_view>()(contentOf(*content.pattern));
    }
};

class UnitLister {
  public:
    explicit UnitLister(UnitList& made) : list(made) {}

    void addTree(const TrieTree& trieTree) {
        for (const uint32_t depth : {TrieTree::kMinDepth, TrieTree::kMaxDepth}) {
            for (const auto& node : trieTree.allNodes()) {
                if (node->depth == depth && node->hasPatterns) addNode(*node);
            }
        }
        list.tree.build(std::move(parts), static_cast<uint32_t>(list.units.size()));
        list.units.insert(list.units.end(), singles.begin(), singles.end());
    }

    void addStrings(const BmList& strings) {
        for (const VQPatternList& bucket : strings.bm_suffix) {
            for (const auto* node = bucket.first(); node != nullptr; node = node->next) {
                addUnit(list.units, *node->pat, UnitKind::PlainString);
            }
        }
    }

  private:
    /// Adds the parts of a node in the order in which they are tried.
    void addNode(const TrieNode& node) {
        for (const auto* patterns : {&node.wildcardList, &node.shortList}) {
            for (const auto* entry = patterns->first(); entry != nullptr; entry = entry->next) {
                addPattern(*entry);
            }
        }
        const auto* entry = node.simpleList.first();
        for (; entry != nullptr; entry = entry->next) {
            addPattern(*entry);
            const auto* longer = static_cast<const TriePatternNode*>(entry)->samePrefix.first();
            for (; longer != nullptr; longer = longer->next) addPattern(*longer);
        }
    }

    /// Every part gets a rank, but only the first part with a content makes a unit.
    void addPattern(const VQPatternNode& node) {
        const TriePattern& pattern = static_cast<const TriePatternNode&>(node).pattern();
        const uint32_t rank = nextRank++;
        if (pattern.sigid == 0) {
            addUnit(singles, pattern, UnitKind::Single);
            list.singleRanks.push_back(rank);
            return;
        }
        const auto next = static_cast<uint32_t>(list.units.size());
        const auto [known, isNew] = shared.try_emplace({&pattern}, next);
        parts.push_back({known->second, {&pattern, rank}});
        if (isNew) addUnit(list.units, pattern, UnitKind::Part);
    }

    void addUnit(std::vector<IndexUnit>& units, const VQPattern& pattern, UnitKind kind) const {
        if (list.units.size() + singles.size() >= kMostUnits) throw std::bad_alloc();
        units.push_back({&pattern, pattern.length, static_cast<uint32_t>(kind) & 3, 0, 0, 0});
    }

    UnitList& list;
    uint32_t nextRank = 0;
    std::unordered_map<PartContent, uint32_t, PartContentHash> shared;  // units by content
    std::vector<PartTree::Listed> parts;
    std::vector<IndexUnit> singles;
};

}  // namespace

UnitList listUnits(const TrieTree& trieTree, const BmList& bmList) {
    UnitList list;
    UnitLister lister(list);
    lister.addTree(trieTree);
    lister.addStrings(bmList);
    return list;
}

}  // namespace STREAMENGINE_SPACE
