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

UnitKind kindOf(const TriePattern& pattern) {
    if (pattern.sigid == 0) return UnitKind::Single;
    if (pattern.partno != 1) return UnitKind::Later;
    return pattern.offset ? UnitKind::OffsetFirst : UnitKind::First;
}

std::string_view contentOf(const TriePattern& pattern) {
    const bool isWildcard = pattern.isWildcard;
    const void* const bytes = isWildcard ? static_cast<const void*>(pattern.symbols.data())
                                         : static_cast<const void*>(pattern.sig.data());
    const size_t size = isWildcard ? pattern.symbols.size() * sizeof(Symbol) : pattern.sig.size();
    return {static_cast<const char*>(bytes), size};
}

/// Parts with equal keys match the same texts and have the same place in their signatures.
struct PartContent {
    const TriePattern* pattern;
    UnitKind kind;

    bool operator==(const PartContent& other) const {
        return kind == other.kind && pattern->isWildcard == other.pattern->isWildcard &&
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

    void addTree(const TrieTree& tree) {
        firstUnits.assign(tree.lastSigid + size_t{1}, kNoUnit);
        for (const uint32_t depth : {TrieTree::kMinDepth, TrieTree::kMaxDepth}) {
            for (const auto& node : tree.allNodes()) {
                if (node->depth == depth && node->hasPatterns) addNode(*node);
            }
        }
        list.members.build(ranks, std::move(parts), std::move(firstUnits));
    }

    void addStrings(const BmList& strings) {
        for (const VQPatternList& bucket : strings.bm_suffix) {
            for (const auto* node = bucket.first(); node != nullptr; node = node->next) {
                addUnit(*node->pat, UnitKind::PlainString);
            }
        }
    }

    /// A unit with many members does not wake its successors: these ask whether they are awake.
    void markSuccessorsOfMany() {
        for (uint32_t unit = 0; unit < list.members.unitCount(); ++unit) {
            const auto all = list.members.membersOf(unit);
            if (all.size() <= kFewMembers) continue;
            for (const UnitMember& member : all) {
                if (member.next != kNoUnit) list.units[member.next].kind = UnitKind::LaterOfMany;
            }
        }
    }

  private:
    /// Adds the parts of a node in the order in which they are tried.
    void addNode(const TrieNode& node) {
        for (const auto* patterns : {&node.wildcardList, &node.shortList}) {
            for (const auto* entry = patterns->first(); entry != nullptr; entry = entry->next) {
                addPart(*entry);
            }
        }
        const auto* entry = node.simpleList.first();
        for (; entry != nullptr; entry = entry->next) {
            addPart(*entry);
            const auto* longer = static_cast<const TriePatternNode*>(entry)->samePrefix.first();
            for (; longer != nullptr; longer = longer->next) addPart(*longer);
        }
    }

    /// Every part gets a rank, but only the first part with a content makes a unit. First parts
    /// with an offset condition are never shared: whether they match depends on the record.
    void addPart(const VQPatternNode& node) {
        const TriePattern& pattern = static_cast<const TriePatternNode&>(node).pattern();
        const UnitKind kind = kindOf(pattern);
        const uint32_t rank = nextRank++;
        auto unit = static_cast<uint32_t>(list.units.size());
        if (kind == UnitKind::First || kind == UnitKind::Later) {
            unit = shared.try_emplace({&pattern, kind}, unit).first->second;
        }
        if (isPart(kind)) parts.push_back({unit, {&pattern, rank}});
        if (kind == UnitKind::First) firstUnits[pattern.sigid] = unit;
        if (unit < list.units.size()) return;
        addUnit(pattern, kind);
        ranks.push_back(rank);
    }

    void addUnit(const VQPattern& pattern, UnitKind kind) {
        if (list.units.size() == kMostUnits) throw std::bad_alloc();
        list.units.push_back({&pattern, pattern.length, kind, 0, 0, 0});
    }

    UnitList& list;
    uint32_t nextRank = 0;
    std::unordered_map<PartContent, uint32_t, PartContentHash> shared;  // units by content
    std::vector<uint32_t> ranks;                                        // of the units so far
    std::vector<MemberTable::UnitOfPart> parts;
    std::vector<uint32_t> firstUnits;  // by sigid
};

}  // namespace

UnitList listUnits(const TrieTree& trieTree, const BmList& bmList) {
    UnitList list;
    UnitLister lister(list);
    lister.addTree(trieTree);
    lister.addStrings(bmList);
    lister.markSuccessorsOfMany();
    return list;
}

}  // namespace STREAMENGINE_SPACE
