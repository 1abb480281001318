#include "scan/SignatureScanner.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <limits>
#include <memory_resource>

#include "engine/ZVKUtil.h"
#include "scan/StreamScanner.h"

namespace STREAMENGINE_SPACE {
namespace {

using Kind = SignatureIndex::Kind;
using Unit = SignatureIndex::Unit;

// From here to there the text is searched before what it held is put in order.
constexpr uint32_t kStretch = 1024;
// A unit with more members has them asked one by one only after something was accepted.
constexpr size_t kManyMembers = 8;

bool agrees(const TriePattern& pattern, const uint8_t* text, uint32_t length) {
    if (!pattern.isWildcard) return std::memcmp(pattern.sig.data(), text, length) == 0;
    size_t group = 0;
    for (uint32_t i = 0; i < length; ++i) {
        const Symbol symbol = pattern.symbols[i];
        if (symbol == kAnySymbol) continue;
        if (symbol == kGroupSymbol) {
            const auto& choices = pattern.groups[group++];
            if (std::find(choices.begin(), choices.end(), text[i]) == choices.end()) return false;
        } else if (symbol != text[i]) {
            return false;
        }
    }
    return true;
}

bool agrees(const Unit& unit, const uint8_t* text, uint32_t length) {
    if (unit.kind == Kind::Bm) return std::memcmp(unit.bm().sig.data(), text, length) == 0;
    return agrees(unit.trie(), text, length);
}

}  // namespace

void SignatureScanner::reset() {
    started.clear();
    own.clear();
    asleep.clear();
    acceptances = 0;
}

SignatureScanner::Progress SignatureScanner::progressOf(const TriePattern& part) const {
    if (const auto* entry = own.find(part.sigid)) return {entry->partsMatched, entry->partEnd};
    const uint32_t first = index.firstUnitOf(part.sigid);
    const auto* entry = first != SignatureIndex::kNoUnit ? started.find(first) : nullptr;
    return entry != nullptr ? Progress{1, entry->partEnd} : Progress{0, 0};
}

bool SignatureScanner::isAwake(const TriePattern& part) const {
    return progressOf(part).partsMatched + 1 == part.partno;
}

bool SignatureScanner::anyAwake(uint32_t unit) {
    const bool isLater = index.units[unit].kind == Kind::Later;
    if (isLater && started.empty() && own.empty()) return false;
    const auto members = index.membersOf(unit);
    const bool isCrowd = members.size() > kManyMembers;
    PartProgress::Entry* known = isCrowd ? asleep.find(unit) : nullptr;
    if (known != nullptr && known->partsMatched == acceptances) return false;
    for (const auto& member : members) {
        if (isAwake(*member.pattern)) return true;
    }
    if (!isCrowd) return false;
    if (known == nullptr) known = &asleep.start(unit);
    known->partsMatched = acceptances;
    return false;
}

bool SignatureScanner::acceptPart(const TriePattern& part, uint32_t pos) {
    result->addPart(part, pos);
    const uint32_t partsMatched = progressOf(part).partsMatched + 1;
    PartProgress::Entry* entry = own.find(part.sigid);
    if (entry == nullptr) entry = &own.start(part.sigid);
    entry->partsMatched = partsMatched;
    entry->partEnd = pos + part.length;
    ++acceptances;
    return partsMatched == part.parts;
}

/// One search of one buffer.
///
/// Looks at the text from left to right; what a look finds begins up to index.reach in front of it.
/// So finds are gathered until the search is that far behind their beginning, sorted, and judged in
/// order. Matches of the shift table's units change nothing but the answer, so that of them only
/// the first is kept.
///
/// Offsets have 32 bits. Where they wrap, a part may end in front of where it begins and let in
/// what was refused: there every part is judged on its own, and nothing stays settled.
class SignatureScanner::Pass {
  public:
    Pass(SignatureScanner& owner, const uint8_t* searched, uint32_t textLength, uint32_t textBase,
         uint32_t settledBefore)
        : scanner(owner),
          index(owner.index),
          text(searched),
          length(textLength),
          base(textBase),
          settled(settledBefore),
          wraps(textBase > std::numeric_limits<uint32_t>::max() - textLength),
          isExpanded(wraps || ops.wantsDetail()) {
        finds.reserve(kFindRoom);
    }

    Match run() {
        const uint32_t reach = index.reach;
        // What begins closer to the end may have its anchor behind it, a gram longer than this.
        const uint32_t hidden = reach + GramTable::kReadLength;
        cutOff = length > hidden ? std::max(settled, length - hidden) : settled;
        for (uint32_t at = settled; at < length;) {
            at = search(at, length - at > kStretch ? at + kStretch : length);
            const uint32_t bound = at < length ? at - std::min(at, reach) : length;
            if (judgeFinds(bound)) return match;
            if (firstBm.start < bound && !index.hasTrieUnits()) break;
        }
        scanner.settledTo = wraps ? 0 : cutOff;
        if (firstBm.unit == SignatureIndex::kNoUnit) return {};
        const Unit& unit = index.units[firstBm.unit];
        return {unit.pattern, false, firstBm.start + unit.length};
    }

  private:
    /// A unit that stands at a place of the text; in the order in which such are judged.
    struct Find {
        uint32_t start;
        uint32_t unit;
        auto operator<=>(const Find&) const = default;
    };
    /// A part to be judged at one place.
    struct Candidate {
        uint32_t rank;
        uint32_t unit;
        const TriePattern* pattern;
    };
    static constexpr size_t kFindRoom = 32;

    /// @return where the search stopped, a whole number of steps from where it began or the end
    uint32_t search(uint32_t at, uint32_t stop) {
        if (!index.pairs.empty()) return searchStretch<true, true>(at, stop);
        if (!index.runs.empty()) return searchStretch<true, false>(at, stop);
        return searchStretch<false, false>(at, stop);
    }

    template <bool kRuns, bool kPairs>
    uint32_t searchStretch(uint32_t at, uint32_t stop) {
        constexpr uint32_t kStep = SignatureIndex::kStep;
        // In front of `safe` all looks of a step are at grams that lie inside the text.
        const uint32_t margin = GramTable::kReadLength + kStep;
        const uint32_t safe = length > margin ? std::min(stop, length - margin) : 0;
        const bool hasSteps = !index.steps.empty();
        const bool hasRuns = kRuns && !index.runs.empty();
        while (at < safe) {
            if (!kRuns && hasSteps) at = skipSteps(at, safe);
            if (at >= safe) break;
            if (hasSteps) look(index.steps, at, kStep);
            for (uint32_t i = at; (kRuns || kPairs) && i < at + kStep; ++i) {
                if (hasRuns) look(index.runs, i, 1);
                if (kPairs) look(index.pairs, i, 1);
            }
            at += kStep;
        }
        for (; at < stop; at += kStep) lookNearEnd(at, hasSteps, hasRuns, kPairs);
        return std::min(at, length);
    }

    /// @return the first position, of every kStep-th, at which the table of steps may hold the gram
    uint32_t skipSteps(uint32_t at, uint32_t safe) const {
        const GramTable& steps = index.steps;
        while (at < safe && !steps.mayHold(steps.hash(text + at))) at += SignatureIndex::kStep;
        return at;
    }

    void lookNearEnd(uint32_t at, bool hasSteps, bool hasRuns, bool hasPairs) {
        const auto isInside = [this](const GramTable& table, uint32_t i) {
            return i < length && table.width <= length - i;
        };
        if (hasSteps && isInside(index.steps, at)) look(index.steps, at, SignatureIndex::kStep);
        for (uint32_t i = at; i < at + SignatureIndex::kStep; ++i) {
            if (hasRuns && isInside(index.runs, i)) look(index.runs, i, 1);
            if (hasPairs && isInside(index.pairs, i)) look(index.pairs, i, 1);
        }
    }

    /// @param grams  that the table has of each unit
    void look(const GramTable& table, uint32_t at, uint32_t grams) {
        const uint64_t hash = table.hash(text + at);
        if (!table.mayHold(hash)) return;
        for (const uint32_t value : table.bucket(hash)) {
            const uint32_t unit = value / grams;
            const uint32_t offset = index.units[unit].anchor + value % grams;
            if (offset <= at && at - offset >= settled) compare(unit, at - offset);
        }
    }

    void compare(uint32_t number, uint32_t start) {
        const Unit& unit = index.units[number];
        const uint32_t rest = length - start;
        if (unit.checkOffset < rest && text[start + unit.checkOffset] != unit.checkByte) return;
        if (unit.kind == Kind::Bm && firstBm < Find{start, number}) return;
        if (finds.empty() && isIdle(unit, number)) return;
        if (!agrees(unit, text + start, std::min(unit.length, rest))) return;
        if (unit.length > rest) {
            cutOff = std::min(cutOff, start);
        } else if (unit.kind != Kind::Bm) {
            finds.push_back({start, number});
        } else if (offsetHolds(*unit.pattern, start)) {
            firstBm = {start, number};
        }
    }

    /// Asked while no find waits that could change the answer. A part in front of this one ends in
    /// front of its start, so that it was looked at before.
    bool isIdle(const Unit& unit, uint32_t number) const {
        if (unit.kind != Kind::First && unit.kind != Kind::Later) return false;
        if (isShared(unit)) return scanner.started.find(number) != nullptr;
        return !wraps && !scanner.anyAwake(number);
    }

    /// @return whether the progress of the unit's signatures is kept in one place
    bool isShared(const Unit& unit) const { return unit.kind == Kind::First && !isExpanded; }

    bool offsetHolds(const VQPattern& pattern, uint32_t start) const {
        return StreamScanner::verifyExtendedOption(pattern.offset, base + start);
    }

    /// Judges the finds that begin in front of bound.
    /// @return whether a signature is complete: match tells it
    bool judgeFinds(uint32_t bound) {
        if (finds.empty()) return false;
        std::sort(finds.begin(), finds.end());
        size_t done = 0;
        while (done < finds.size() && finds[done].start < bound) {
            const uint32_t start = finds[done].start;
            for (; done < finds.size() && finds[done].start == start; ++done) {
                addCandidates(finds[done].unit);
            }
            if (judgeCandidates(start)) return true;
        }
        finds.erase(finds.begin(), finds.begin() + static_cast<std::ptrdiff_t>(done));
        return false;
    }

    void addCandidates(uint32_t number) {
        const Unit& unit = index.units[number];
        if (unit.kind == Kind::Later || (unit.kind == Kind::First && !isShared(unit))) {
            if (!wraps && !scanner.anyAwake(number)) return;
            for (const auto& member : index.membersOf(number)) {
                if (!wraps && !scanner.isAwake(*member.pattern)) continue;
                candidates.push_back({member.rank, number, member.pattern});
            }
        } else if (unit.kind != Kind::First || scanner.started.find(number) == nullptr) {
            candidates.push_back({index.rankOf(number), number, &unit.trie()});
        }
    }

    bool judgeCandidates(uint32_t start) {
        const uint32_t pos = base + start;
        std::sort(candidates.begin(), candidates.end(),
                  [](const Candidate& a, const Candidate& b) { return a.rank < b.rank; });
        uint32_t limit = std::numeric_limits<uint32_t>::max();  // rank of what was complete
        for (const Candidate& candidate : candidates) {
            if (!accept(candidate, start)) continue;
            match = {candidate.pattern, true, start + candidate.pattern->length};
            limit = candidate.rank;
            break;
        }
        for (const Candidate& candidate : candidates) {
            if (isShared(index.units[candidate.unit]) && candidate.rank < limit)
                startSignatures(candidate, pos, limit);
        }
        candidates.clear();
        return limit != std::numeric_limits<uint32_t>::max();
    }

    /// @return whether a signature is complete with this part
    bool accept(const Candidate& candidate, uint32_t start) {
        const TriePattern& part = *candidate.pattern;
        const uint32_t pos = base + start;
        const Unit& unit = index.units[candidate.unit];
        if (isShared(unit)) return false;  // later, by startSignatures()
        switch (unit.kind) {
            case Kind::Single:
                if (!offsetHolds(part, start)) return false;
                scanner.result->addPart(part, pos);
                return true;
            case Kind::OffsetFirst:
                if (!offsetHolds(part, start)) return false;
                break;
            default:
                break;
        }
        const auto [partsMatched, partEnd] = scanner.progressOf(part);
        return PartProgress::fits(part, partsMatched, partEnd, pos) &&
               scanner.acceptPart(part, pos);
    }

    /// Notes that a first part was accepted, for all its signatures that were tried in front of the
    /// one, told by its rank, that was then complete. The others are left as they were: the host
    /// may have the search go on without a reset.
    void startSignatures(const Candidate& first, uint32_t pos, uint32_t limit) {
        const auto members = index.membersOf(first.unit);
        ++scanner.acceptances;
        if (members.back().rank < limit) {
            auto& entry = scanner.started.start(first.unit);
            entry.partsMatched = 1;
            entry.partEnd = pos + first.pattern->length;
            return;
        }
        for (const auto& [part, rank] : members) {
            if (rank > limit || scanner.own.find(part->sigid) != nullptr) continue;
            auto& entry = scanner.own.start(part->sigid);
            entry.partsMatched = 1;
            entry.partEnd = pos + part->length;
        }
    }

    SignatureScanner& scanner;
    const SignatureIndex& index;
    const uint8_t* text;
    const uint32_t length;
    const uint32_t base;
    const uint32_t settled;
    const bool wraps;
    const bool isExpanded;  // progress is kept for each signature on its own
    uint32_t cutOff = 0;    // in front of it all that begins was seen whole
    Find firstBm{std::numeric_limits<uint32_t>::max(), SignatureIndex::kNoUnit};
    Match match;
    // Room for what is found as a rule: only a text full of finds allocates.
    std::array<std::byte, 2 * kFindRoom*(sizeof(Find) + sizeof(Candidate))> room;  // NOLINT
    std::pmr::monotonic_buffer_resource memory{room.data(), room.size()};
    std::pmr::vector<Find> finds{&memory};
    std::pmr::vector<Candidate> candidates{&memory};
};

SignatureScanner::Match SignatureScanner::virusFound(const uint8_t* text, uint32_t length,
                                                     uint32_t base, uint32_t settled) {
    settledTo = length;
    if (index.units.empty()) return {};
    return Pass(*this, text, length, base, settled).run();
}

}  // namespace STREAMENGINE_SPACE
