#include "store/index/SignatureIndex.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <new>
#include <numeric>
#include <string_view>
#include <unordered_map>

#include "store/index/AnchorChoice.h"
#include "store/load/BlockHash.h"
#include "store/load/BmList.h"
#include "store/load/TrieTree.h"

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
               std::ranges::equal(pattern->groups, other.pattern->groups,
                                  [](auto a, auto b) { return std::ranges::equal(a, b); });
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
            for (const auto* node = bucket.first(); node != nullptr; node = node->next) {
                addUnit(*node->pat, Kind::Bm);
            }
        }
        gatherMembers();
        sortMembers();
        tellCrowds();
    }

    void chooseAnchors() {
        GramCounts counts(kStepWidth, countSymbols());
        forEachUnit([&](uint32_t /*unit*/, const LiteralRuns& literals) { counts.add(literals); });
        std::vector<GramTable<uint32_t>::Gram> grams;
        std::vector<uint32_t> others;
        grams.reserve(index.units.size() * kStep);
        forEachUnit([&](uint32_t unit, const LiteralRuns& literals) {
            const auto anchor = chooseAnchor(literals, kStep, counts);
            if (!anchor || anchor->crowd > kCrowd) {
                others.push_back(unit);
            } else {
                setAnchor(unit, literals, anchor->offset, kStep);
                // The last place first: one look then finds a unit's starts from left to right.
                for (uint32_t i = kStep; i-- > 0;) {
                    const uint64_t hash = index.steps.hash(literals.at(anchor->offset + i));
                    grams.push_back({hash, unit * kStep + i});
                }
            }
        });
        index.steps.build(grams);
        chooseRuns(others);
    }

  private:
    void listNode(const TrieNode& node) {
        // The order in which a node's patterns are tried.
        for (const auto* list : {&node.wildcardList, &node.shortList}) {
            for (const auto* entry = list->first(); entry != nullptr; entry = entry->next) {
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

    void addPart(const VQPatternNode& node) {
        const TriePattern& pattern = static_cast<const TriePatternNode&>(node).pattern();
        const Kind kind = kindOf(pattern);
        const uint32_t rank = nextRank++;
        uint32_t unit = static_cast<uint32_t>(index.units.size());
        if (kind == Kind::First || kind == Kind::Later) {
            unit = shared.try_emplace({&pattern, kind}, unit).first->second;
        }
        if (kind != Kind::Single) memberUnits.push_back({unit, {&pattern, rank, kNoUnit, kNoUnit}});
        if (kind == Kind::First) index.firstUnits[pattern.sigid] = unit;
        if (unit < index.units.size()) return;
        addUnit(pattern, kind);
        index.places.push_back({rank, 0, 0});
    }

    void addUnit(const VQPattern& pattern, Kind kind) {
        if (index.units.size() == kMostUnits) throw std::bad_alloc();
        index.units.push_back({&pattern, pattern.length, kind, 0, 0, 0});
    }

    /// Tells each member the unit of the part behind it.
    void linkMembers() {
        const auto place = [](const auto& entry) {
            return std::pair(entry.second.pattern->sigid, entry.second.pattern->partno);
        };
        std::sort(memberUnits.begin(), memberUnits.end(),
                  [&](const auto& a, const auto& b) { return place(a) < place(b); });
        for (size_t i = 1; i < memberUnits.size(); ++i) {
            auto [sigid, partno] = place(memberUnits[i - 1]);
            if (place(memberUnits[i]) == std::pair(sigid, ++partno)) {
                memberUnits[i - 1].second.next = memberUnits[i].first;
                memberUnits[i].second.previous = memberUnits[i - 1].first;
            }
        }
        std::sort(memberUnits.begin(), memberUnits.end(), [](const auto& a, const auto& b) {
            return std::pair(a.first, a.second.rank) < std::pair(b.first, b.second.rank);
        });
    }

    /// What a unit of many members would have to wake is left to ask for itself.
    void tellCrowds() {
        for (uint32_t unit = 0; unit < index.places.size(); ++unit) {
            const auto all = index.membersOf(unit);
            if (all.size() <= kFewMembers) continue;
            for (const Member& member : all) {
                if (member.next != kNoUnit) index.units[member.next].kind = Kind::LaterOfMany;
            }
        }
    }

    void gatherMembers() {
        linkMembers();
        index.members.reserve(memberUnits.size());
        for (const auto& [unit, member] : memberUnits) {
            Place& place = index.places[unit];
            if (place.endMember == 0)
                place.firstMember = static_cast<uint32_t>(index.members.size());
            place.endMember = static_cast<uint32_t>(index.members.size()) + 1;
            index.members.push_back(member);
        }
    }

    /// Makes the ways to a member that do not lead through all of its unit.
    void sortMembers() {
        const auto& all = index.members;
        index.partStarts.assign(index.firstUnits.size() + 1, 0);
        for (const Member& member : all) ++index.partStarts[member.pattern->sigid + 1];
        std::partial_sum(index.partStarts.begin(), index.partStarts.end(),
                         index.partStarts.begin());
        index.partMembers.resize(all.size());
        for (uint32_t i = 0; i < all.size(); ++i) {
            const TriePattern& part = *all[i].pattern;
            index.partMembers[index.partStarts[part.sigid] + part.partno - 1] = i;
        }
        index.byPrevious.resize(all.size());
        for (const Place& place : index.places) {
            const auto first = index.byPrevious.begin() + place.firstMember;
            const auto end = index.byPrevious.begin() + place.endMember;
            std::iota(first, end, 0);
            std::sort(first, end, [&](uint32_t a, uint32_t b) {
                const auto previous = [&](uint32_t i) {
                    return all[place.firstMember + i].previous;
                };
                return std::pair(previous(a), a) < std::pair(previous(b), b);
            });
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

    void chooseRuns(const std::vector<uint32_t>& others) {
        if (others.empty()) return;
        uint32_t shortest = GramFilter::kReadLength + 1;
        for (const uint32_t unit : others) {
            readLiterals(index.units[unit], literalRuns);
            const uint32_t length = literalRuns.longest();
            if (length >= kLeastRun) shortest = std::min(shortest, length);
        }
        shortest = std::min(shortest, kLongRunWidth);
        index.runs = GramFilter(shortest - kRunStep + 1);
        index.shortRuns = GramTable<Run>(shortest);
        GramCounts shortCounts(shortest, countSymbols());
        GramCounts longCounts(kLongRunWidth, countSymbols());
        GramCounts pairCounts(kPairWidth, kBlockHashes);
        forEachUnit([&](uint32_t /*unit*/, const LiteralRuns& literals) {
            shortCounts.add(literals);
            longCounts.add(literals);
            pairCounts.add(literals);
        });
        std::vector<GramTable<Run>::Gram> shortGrams;
        std::vector<GramTable<Run>::Gram> longGrams;
        std::vector<GramTable<Run>::Gram> pairGrams;
        for (const uint32_t unit : others) {
            readLiterals(index.units[unit], literalRuns);
            if (const auto anchor = chooseAnchor(literalRuns, 1, longCounts)) {
                enterRun(unit, anchor->offset, index.longRuns, longGrams);
            } else if (const auto inShort = chooseAnchor(literalRuns, 1, shortCounts)) {
                enterRun(unit, inShort->offset, index.shortRuns, shortGrams);
            } else {
                const uint32_t offset = chooseAnchor(literalRuns, 1, pairCounts)->offset;
                enterRun(unit, offset, index.pairs, pairGrams);
            }
        }
        index.runs.fill(runHashes);
        index.shortRuns.build(shortGrams);
        index.longRuns.build(longGrams);
        index.pairs.build(pairGrams);
    }

    void setAnchor(uint32_t number, const LiteralRuns& literals, uint32_t offset,
                   uint32_t gramCount) {
        Unit& unit = index.units[number];
        unit.anchor = static_cast<uint8_t>(offset);
        const uint32_t last = literals.all().back().end - 1;
        unit.checkOffset = static_cast<uint8_t>(last);
        unit.checkByte = *literals.at(last);
        index.reach = std::max(index.reach, offset + gramCount - 1);
    }

    /// Enters a gram of a unit, whose literals are at hand, into what becomes a table, and what is
    /// looked at of it into the filter of runs.
    void enterRun(uint32_t unit, uint32_t offset, const GramTable<Run>& table,
                  std::vector<GramTable<Run>::Gram>& grams) {
        setAnchor(unit, literalRuns, offset, kRunStep);
        const uint8_t* const gram = literalRuns.at(offset);
        const auto isAround = [offset](const auto& run) { return run.end > offset; };
        const auto run = std::find_if(literalRuns.all().begin(), literalRuns.all().end(), isAround);
        Run value = {};
        value.unit = unit & kMostUnits;
        value.kind = static_cast<uint32_t>(index.units[unit].kind) & 7;
        const uint32_t behind = run->end - offset - table.width;
        value.tailLength = std::min<uint32_t>(behind, sizeof value.tail) & 7;
        std::memcpy(&value.tail, gram + table.width, value.tailLength);
        grams.push_back({table.hash(gram), value});
        if (&table == &index.pairs) return;
        for (uint32_t i = 0; i < kRunStep; ++i) runHashes.push_back(index.runs.hash(gram + i));
    }

    SignatureIndex& index;
    uint32_t nextRank = 0;
    std::vector<uint64_t> runHashes;
    std::unordered_map<Content, uint32_t, ContentHash> shared;
    std::vector<std::pair<uint32_t, Member>> memberUnits;
    LiteralRuns literalRuns;
};

void SignatureIndex::build(const TrieTree& trieTree, const BmList& bmList,
                           QLT_SPACE::VectorUnit unit) {
    reset();
    vectorUnit = unit;
    Compiler compiler(*this);
    compiler.listUnits(trieTree, bmList);
    compiler.chooseAnchors();
    units.shrink_to_fit();
    built = true;
}

void SignatureIndex::reset() {
    *this = SignatureIndex();
}

std::span<const uint32_t> SignatureIndex::membersBehind(uint32_t unit, uint32_t previous) const {
    const Place& place = places[unit];
    const auto begin = byPrevious.begin() + place.firstMember;
    const auto end = byPrevious.begin() + place.endMember;
    const auto previousOf = [&](uint32_t i) { return members[place.firstMember + i].previous; };
    return {std::lower_bound(begin, end, previous,
                             [&](uint32_t i, uint32_t sought) { return previousOf(i) < sought; }),
            std::upper_bound(begin, end, previous,
                             [&](uint32_t sought, uint32_t i) { return sought < previousOf(i); })};
}

const SignatureIndex::Member* SignatureIndex::memberOf(uint32_t unit, uint32_t sigid,
                                                       uint32_t partno) const {
    const uint32_t part = partStarts[sigid] + partno - 1;
    if (part >= partStarts[sigid + 1]) return nullptr;
    const uint32_t member = partMembers[part];
    const Place& place = places[unit];
    return member >= place.firstMember && member < place.endMember ? &members[member] : nullptr;
}

}  // namespace STREAMENGINE_SPACE
