#include "store/SignatureIndex.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <string_view>
#include <unordered_map>

#include "store/AnchorChoice.h"
#include "store/BlockHash.h"
#include "store/BmList.h"
#include "store/TrieTree.h"

namespace STREAMENGINE_SPACE {
namespace {

using Kind = SignatureIndex::Kind;

// A gram that more units than these share is looked for in another way, if there is one.
constexpr uint32_t kCrowd = 64;

Kind kindOf(const TriePattern& pattern) {
    if (pattern.sigid == 0) return Kind::Single;
    if (pattern.partno != 1) return Kind::Later;
    return pattern.offset ? Kind::OffsetFirst : Kind::First;
}

bool hasMembers(Kind kind) {
    return kind == Kind::First || kind == Kind::Later;
}

std::string_view contentOf(const TriePattern& pattern) {
    const bool isWildcard = pattern.isWildcard;
    const void* const bytes = isWildcard ? static_cast<const void*>(pattern.symbols.data())
                                         : static_cast<const void*>(pattern.sig.data());
    const size_t size = isWildcard ? pattern.symbols.size() * sizeof(Symbol) : pattern.sig.size();
    return {static_cast<const char*>(bytes), size};
}

/// Parts that match the same texts and stand in the same place of their signatures, as a key.
struct Content {
    const TriePattern* pattern;
    Kind kind;

    bool operator==(const Content& other) const {
        return kind == other.kind && pattern->isWildcard == other.pattern->isWildcard &&
               contentOf(*pattern) == contentOf(*other.pattern) &&
               std::equal(pattern->groups.begin(), pattern->groups.end(),
                          other.pattern->groups.begin(), other.pattern->groups.end());
    }
};

struct ContentHash {
    size_t operator()(const Content& content) const {
        return std::hash<std::string_view>()(contentOf(*content.pattern));
    }
};

void readLiterals(const SignatureIndex::Unit& unit, LiteralRuns& literals) {
    if (unit.kind == Kind::Bm) {
        literals.assign(std::span<const uint8_t>(unit.bm().sig));
    } else if (unit.trie().isWildcard) {
        literals.assign(std::span<const Symbol>(unit.trie().symbols));
    } else {
        literals.assign(std::span<const uint8_t>(unit.trie().sig));
    }
}

}  // namespace

/// Makes an index, in two steps: units out of lists, then anchors for the units.
class SignatureIndex::Compiler {
  public:
    explicit Compiler(SignatureIndex& made) : index(made) {}

    void listUnits(const TrieTree& tree, const BmList& list) {
        index.firstUnits.assign(tree.lastSigid + size_t{1}, kNoUnit);
        for (const uint32_t depth : {TrieTree::kMinDepth, TrieTree::kMaxDepth}) {
            for (const auto& node : tree.allNodes()) {
                if (node->depth == depth && node->hasPatterns) listNode(*node);
            }
        }
        for (const VQPatternList& bucket : list.bm_suffix) {
            for (const auto* node = bucket.first(); node != nullptr; node = node->next.get()) {
                addUnit(*node->pat, Kind::Bm);
            }
        }
        gatherMembers();
    }

    void chooseAnchors() {
        GramCounts counts(kStepWidth, countSymbols());
        forEachUnit([&](uint32_t /*unit*/, const LiteralRuns& literals) { counts.add(literals); });
        std::vector<GramTable::Gram> grams;
        std::vector<uint32_t> others;
        grams.reserve(index.units.size() * kStep);
        forEachUnit([&](uint32_t unit, const LiteralRuns& literals) {
            const auto anchor = chooseAnchor(literals, kStep, counts);
            if (!anchor || anchor->crowd > kCrowd) {
                others.push_back(unit);
            } else {
                enter(unit, literals, anchor->offset, index.steps, kStep, grams);
            }
        });
        index.steps.build(grams);
        enterRuns(others);
    }

  private:
    void listNode(const TrieNode& node) {
        // The order in which a node's patterns are tried.
        for (const auto* list : {&node.wildcardList, &node.shortList}) {
            for (const auto* entry = list->first(); entry != nullptr; entry = entry->next.get()) {
                addPart(*entry);
            }
        }
        const auto* entry = node.simpleList.first();
        for (; entry != nullptr; entry = entry->next.get()) {
            addPart(*entry);
            const auto* longer = entry->samePrefix.first();
            for (; longer != nullptr; longer = longer->next.get()) addPart(*longer);
        }
    }

    void addPart(const VQPatternNode& node) {
        const TriePattern& pattern = static_cast<const TriePatternNode&>(node).pattern();
        const Kind kind = kindOf(pattern);
        const uint32_t rank = nextRank++;
        uint32_t unit = static_cast<uint32_t>(index.units.size());
        if (hasMembers(kind)) {
            unit = shared.try_emplace({&pattern, kind}, unit).first->second;
            memberUnits.push_back({unit, {&pattern, rank}});
        }
        if (kind == Kind::First) index.firstUnits[pattern.sigid] = unit;
        if (unit < index.units.size()) return;
        addUnit(pattern, kind);
        index.ranks.push_back(rank);
    }

    void addUnit(const VQPattern& pattern, Kind kind) {
        index.units.push_back({&pattern, pattern.length, kind, 0, 0, 0});
    }

    void gatherMembers() {
        // Stable: those of a unit stay in order.
        std::stable_sort(memberUnits.begin(), memberUnits.end(),
                         [](const auto& a, const auto& b) { return a.first < b.first; });
        index.members.reserve(memberUnits.size());
        for (const auto& [unit, member] : memberUnits) {
            const auto place = static_cast<uint32_t>(index.members.size());
            if (index.groups.empty() || index.groups.back().unit != unit) {
                index.groups.push_back({unit, place, place});
            }
            ++index.groups.back().endMember;
            index.members.push_back(member);
        }
    }

    template <class Action>
    void forEachUnit(Action action) {
        for (uint32_t unit = 0; unit < index.units.size(); ++unit) {
            readLiterals(index.units[unit], literalRuns);
            action(unit, literalRuns);
        }
    }

    size_t countSymbols() const {
        size_t sum = 0;
        for (const Unit& unit : index.units) sum += std::min(unit.length, kAnchorRoom);
        return sum;
    }

    void enterRuns(const std::vector<uint32_t>& others) {
        if (others.empty()) return;
        uint32_t width = GramTable::kReadLength;
        for (const uint32_t unit : others) {
            readLiterals(index.units[unit], literalRuns);
            if (literalRuns.longest() >= kLeastRun) width = std::min(width, literalRuns.longest());
        }
        index.runs = GramTable(width);
        GramCounts counts(width, countSymbols());
        GramCounts pairCounts(kPairWidth, kBlockHashes);
        forEachUnit([&](uint32_t /*unit*/, const LiteralRuns& literals) {
            counts.add(literals);
            pairCounts.add(literals);
        });
        std::vector<GramTable::Gram> runGrams;
        std::vector<GramTable::Gram> pairGrams;
        for (const uint32_t unit : others) {
            readLiterals(index.units[unit], literalRuns);
            if (const auto anchor = chooseAnchor(literalRuns, 1, counts)) {
                enter(unit, literalRuns, anchor->offset, index.runs, 1, runGrams);
            } else {
                const uint32_t offset = chooseAnchor(literalRuns, 1, pairCounts)->offset;
                enter(unit, literalRuns, offset, index.pairs, 1, pairGrams);
            }
        }
        index.runs.build(runGrams);
        index.pairs.build(pairGrams);
    }

    /// Enters a unit's grams, as many as told, into what becomes a table.
    void enter(uint32_t number, const LiteralRuns& literals, uint32_t offset,
               const GramTable& table, uint32_t gramCount, std::vector<GramTable::Gram>& grams) {
        Unit& unit = index.units[number];
        unit.anchor = static_cast<uint8_t>(offset);
        const uint32_t last = literals.all().back().end - 1;
        unit.checkOffset = static_cast<uint8_t>(last);
        unit.checkByte = *literals.at(last);
        for (uint32_t i = 0; i < gramCount; ++i) {
            grams.push_back({table.hash(literals.at(offset + i)), number * gramCount + i});
        }
        index.reach = std::max(index.reach, offset + gramCount - 1);
    }

    SignatureIndex& index;
    uint32_t nextRank = 0;
    std::unordered_map<Content, uint32_t, ContentHash> shared;
    std::vector<std::pair<uint32_t, Member>> memberUnits;
    LiteralRuns literalRuns;
};

void SignatureIndex::build(const TrieTree& trieTree, const BmList& bmList) {
    reset();
    Compiler compiler(*this);
    compiler.listUnits(trieTree, bmList);
    compiler.chooseAnchors();
    units.shrink_to_fit();
    built = true;
}

void SignatureIndex::reset() {
    *this = SignatureIndex();
}

std::span<const SignatureIndex::Member> SignatureIndex::membersOf(uint32_t unit) const {
    const auto group = std::lower_bound(groups.begin(), groups.end(), unit,
                                        [](const Group& g, uint32_t u) { return g.unit < u; });
    return {members.data() + group->firstMember, members.data() + group->endMember};
}

}  // namespace STREAMENGINE_SPACE
