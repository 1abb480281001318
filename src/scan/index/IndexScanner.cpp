#include "scan/index/IndexScanner.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>
#include <limits>
#include <memory_resource>

#include "scan/index/AnchorProbe.h"
#include "support/EngineOption.h"

namespace STREAMENGINE_SPACE {
namespace {

using Kind = SignatureIndex::Kind;
using Unit = SignatureIndex::Unit;

// Bytes that are searched, at most, before what they held is put in order and judged.
constexpr uint32_t kStretch = 1024;

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
    if (unit.kind != Kind::Bm) return agrees(unit.trie(), text, length);
    // The last byte differs most often among patterns that share a head.
    const auto& sig = unit.bm().sig;
    return sig[length - 1] == text[length - 1] && std::memcmp(sig.data(), text, length) == 0;
}

}  // namespace

void IndexScanner::reset() {
    started.clear();
    own.clear();
    asleep.clear();
    marks.clear();
    acceptances = 0;
    wentOn = false;
}

IndexScanner::Progress IndexScanner::progressOf(const TriePattern& part) const {
    if (const auto* entry = own.find(part.sigid)) return {entry->partsMatched, entry->partEnd};
    const uint32_t first = index.firstUnitOf(part.sigid);
    const auto* entry = first != SignatureIndex::kNoUnit ? started.find(first) : nullptr;
    return entry != nullptr ? Progress{1, entry->partEnd} : Progress{0, 0};
}

bool IndexScanner::isAwake(const TriePattern& part) const {
    return progressOf(part).partsMatched + 1 == part.partno;
}

bool IndexScanner::visitAwake(uint32_t unit, const auto& visit) const {
    const auto members = index.membersOf(unit);
    if (members.size() <= started.all().size() + own.all().size()) {
        return std::any_of(members.begin(), members.end(), [&](const auto& member) {
            return isAwake(*member.pattern) && visit(member);
        });
    }
    // Fewer signatures are under way than have this part.
    for (const auto& entry : own.all()) {
        const auto* member = index.memberOf(unit, entry.sigid, entry.partsMatched + 1);
        if (member != nullptr && visit(*member)) return true;
    }
    for (const auto& entry : started.all()) {
        for (const uint32_t i : index.membersBehind(unit, entry.sigid)) {
            if (isAwake(*members[i].pattern) && own.find(members[i].pattern->sigid) == nullptr &&
                visit(members[i])) {
                return true;
            }
        }
    }
    return false;
}

bool IndexScanner::anyAwake(uint32_t unit) {
    if (started.empty() && own.empty()) return false;
    PartProgress::Entry* known = asleep.find(unit);
    if (known != nullptr && known->partsMatched == acceptances) return false;
    if (visitAwake(unit, [](const auto& /*member*/) { return true; })) return true;
    if (known == nullptr) known = &asleep.start(unit);
    known->partsMatched = acceptances;
    return false;
}

bool IndexScanner::isFinished(uint32_t unit, uint32_t pos) const {
    const auto members = index.membersOf(unit);
    if (members.size() > SignatureIndex::kFewMembers) return false;
    return std::all_of(members.begin(), members.end(), [&](const auto& member) {
        const TriePattern& part = *member.pattern;
        const auto [partsMatched, partEnd] = progressOf(part);
        if (partsMatched + 1 != part.partno) return partsMatched >= part.partno;
        return part.maxDistance != 0 && pos > partEnd && pos - partEnd > part.maxDistance;
    });
}

bool IndexScanner::acceptPart(const TriePattern& part, uint32_t pos) {
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
class IndexScanner::Pass {
  public:
    Pass(IndexScanner& owner, const uint8_t* searched, uint32_t textLength, uint32_t textBase,
         uint32_t settledBefore, DigestFeed& digestFeed)
        : scanner(owner),
          index(owner.index),
          text(searched),
          length(textLength),
          base(textBase),
          feed(digestFeed),
          settled(settledBefore),
          wraps(textBase > std::numeric_limits<uint32_t>::max() - textLength),
          isExpanded(wraps || ops.wantsDetail()) {
        finds.reserve(kFindRoom);
    }

    Match run() {
        const uint32_t reach = index.reach;
        // What begins closer to the end may have its anchor behind it, a gram longer than this.
        const uint32_t hidden = reach + GramFilter::kReadLength;
        cutOff = length > hidden ? std::max(settled, length - hidden) : settled;
        // Short at first: a host that goes on behind each match begins anew each time.
        uint32_t stretch = kProbeBlock;
        for (uint32_t at = settled; at < length; stretch = std::min(2 * stretch, kStretch)) {
            at = search(at, length - at > stretch ? at + stretch : length);
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
        bool operator<(const Find& other) const {
            return start != other.start ? start < other.start : unit < other.unit;
        }
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
        // In front of `safe` all looks of a step are at grams that lie inside the text.
        constexpr uint32_t kMargin = GramFilter::kReadLength + SignatureIndex::kStep;
        const uint32_t safe = length > kMargin ? std::min(stop, length - kMargin) : 0;
        const uint32_t strips = safe > at ? (safe - at) / kProbeBlock : 0;
        std::array<ProbeBits, kStretch / kProbeBlock> stretch;  // NOLINT: filled right below
        probeAnchors(index, text + at, strips, stretch.data(), feed);
        for (uint32_t strip = 0; strip < strips; ++strip, at += kProbeBlock) {
            followMarks(stretch[strip], at);
        }
        for (; at < safe; at += SignatureIndex::kStep) lookAtStep(at);
        // By distances: the end may be just below 4 GiB.
        for (; stop - at > SignatureIndex::kStep; at += SignatureIndex::kStep) lookNearEnd(at);
        lookNearEnd(at);
        return stop;
    }

    void followMarks(ProbeBits left, uint32_t at) {
        const bool hasPairs = !index.pairs.isClosed();
        for (left <<= 64 - kProbesPerBlock; left != 0;) {
            const auto look = static_cast<uint32_t>(std::countl_zero(left));
            left &= ~(ProbeBits{1} << 63 >> look);
            const uint32_t step = look / kProbesPerStep;
            const uint32_t place = look % kProbesPerStep;
            const uint32_t stepAt = at + step * SignatureIndex::kStep;
            if (hasPairs) {
                lookAtStep(stepAt);
                left &= ~ProbeBits{0} >> (step + 1) * kProbesPerStep;
            } else if (place == 0) {
                findSteps(stepAt, index.steps.hash(text + stepAt));
            } else {
                findRuns(stepAt + (place - 1) * SignatureIndex::kRunStep);
            }
        }
    }

    void lookAtStep(uint32_t at) {
        lookForStep(at);
        const bool hasPairs = !index.pairs.isClosed();
        for (uint32_t i = at; i < at + SignatureIndex::kStep; ++i) {
            if ((i - at) % SignatureIndex::kRunStep == 0) lookForRuns(i);
            if (hasPairs) lookForRun(index.pairs, i);
        }
    }

    /// The same, where the text may end behind a gram or in it.
    void lookNearEnd(uint32_t at) {
        if (hasRoom(index.steps, at)) lookForStep(at);
        const uint32_t count = std::min(SignatureIndex::kStep, length - at);
        for (uint32_t i = 0; i < count; ++i) {
            if (i % SignatureIndex::kRunStep == 0) lookForRuns(at + i);
            lookForRun(index.pairs, at + i);
        }
    }

    void lookForStep(uint32_t at) {
        const uint64_t hash = index.steps.hash(text + at);
        if (index.steps.mayHold(hash)) findSteps(at, hash);
    }

    void findSteps(uint32_t at, uint64_t hash) {
        for (const uint32_t value : index.steps.bucket(hash)) {
            const uint32_t number = value / SignatureIndex::kStep;
            const uint32_t place = value % SignatureIndex::kStep;
            const Unit& unit = index.units[number];
            if (!isIdle(unit.kind, number)) consider(number, unit.anchor + place, at);
        }
    }

    void lookForRuns(uint32_t at) {
        if (hasRoom(index.runs, at) && index.runs.mayHold(index.runs.hash(text + at))) findRuns(at);
    }

    void findRuns(uint32_t at) {
        for (const auto* table : {&index.shortRuns, &index.longRuns}) {
            if (at != 0) lookForRun(*table, at - 1);
            lookForRun(*table, at);
        }
    }

    /// @return whether a gram of the table fits between `at` and the end of the text
    bool hasRoom(const GramFilter& table, uint32_t at) const {
        return at < length && table.width <= length - at;
    }

    void lookForRun(const GramTable<SignatureIndex::Run>& table, uint32_t at) {
        const uint64_t hash = table.hash(text + at);
        if (!hasRoom(table, at) || !table.mayHold(hash)) return;
        uint32_t tail = 0;
        std::memcpy(&tail, text + at + table.width, sizeof tail);
        const uint32_t rest = length - at - table.width;
        for (const SignatureIndex::Run& run : table.bucket(hash)) {
            const uint32_t compared = std::min<uint32_t>(run.tailLength, rest);
            if (((tail ^ run.tail) & ((uint64_t{1} << 8 * compared) - 1)) != 0) continue;
            if (isIdle(run.kindOf(), run.unit)) continue;
            consider(run.unit, index.units[run.unit].anchor, at);
        }
    }

    /// @return whether what was found so far rules out that the unit counts here. The part in front
    ///         of it ends in front of its start, so that it was looked at before.
    bool isIdle(Kind kind, uint32_t unit) const {
        if (kind < Kind::First || wraps) return false;
        const UnitMarks::Mark mark = scanner.marks.of(unit);
        if (mark == UnitMarks::Mark::Done) return true;
        return kind == Kind::Later && mark == UnitMarks::Mark::None;
    }

    /// @param offset  of the gram in the unit
    /// @param at      of the gram in the text
    void consider(uint32_t number, uint32_t offset, uint32_t at) {
        const Unit& unit = index.units[number];
        const uint32_t start = at - offset;
        if (offset > at || start < settled || start > surelyFound) return;
        const uint32_t rest = length - start;
        if (unit.checkOffset < rest && text[start + unit.checkOffset] != unit.checkByte) return;
        if (unit.kind == Kind::LaterOfMany && finds.empty() && !wraps &&
            !scanner.anyAwake(number)) {
            return;
        }
        if (unit.kind == Kind::Bm && firstBm < Find{start, number}) return;
        if (!agrees(unit, text + start, std::min(unit.length, rest))) return;
        if (unit.length > rest) {
            cutOff = std::min(cutOff, start);
            return;
        }
        if (unit.kind <= Kind::OffsetFirst && !offsetHolds(*unit.pattern, start)) return;
        if (unit.kind == Kind::Bm) {
            firstBm = {start, number};
            return;
        }
        finds.push_back({start, number});
        if (unit.kind == Kind::Single) surelyFound = std::min(surelyFound, start);
        // It will be accepted, unless something is found in front: then all is opened again. Looks
        // find a unit's starts from left to right, so that this is the first.
        if (isShared(unit)) scanner.marks.finish(number);
        wakeNext(unit.kind, number);
    }

    /// Gets ready for the parts behind one that may be accepted.
    void wakeNext(Kind kind, uint32_t unit) {
        if (kind < Kind::OffsetFirst) return;
        const auto members = index.membersOf(unit);
        if (members.size() > SignatureIndex::kFewMembers) return;
        for (const auto& member : members) {
            if (member.next != SignatureIndex::kNoUnit) scanner.marks.wake(member.next);
        }
    }

    /// @return whether the progress of the unit's signatures is kept in one place
    bool isShared(const Unit& unit) const { return unit.kind == Kind::First && !isExpanded; }

    bool offsetHolds(const VQPattern& pattern, uint32_t start) const {
        return pattern.beginsAt(base + start);
    }

    /// Judges the finds that begin in front of bound.
    /// @return whether a signature is complete: match tells it
    bool judgeFinds(uint32_t bound) {
        if (finds.empty()) return false;
        std::sort(finds.begin(), finds.end());
        size_t done = 0;
        while (done < finds.size() && finds[done].start < bound) {
            const uint32_t start = finds[done].start;
            const size_t first = done;
            for (; done < finds.size() && finds[done].start == start; ++done) {
                addCandidates(finds[done].unit);
            }
            if (judgeCandidates(start)) return true;
            for (size_t i = first; i < done; ++i) finishUnit(finds[i].unit, base + start);
        }
        finds.erase(finds.begin(), finds.begin() + static_cast<std::ptrdiff_t>(done));
        return false;
    }

    void addCandidates(uint32_t number) {
        const Unit& unit = index.units[number];
        if (isShared(unit)) {
            if (scanner.started.find(number) != nullptr) return;
            candidates.push_back({index.rankOf(number), number, &unit.trie()});
        } else if (unit.kind == Kind::Single) {
            candidates.push_back({index.rankOf(number), number, &unit.trie()});
        } else {
            const auto add = [&](const auto& member) {
                candidates.push_back({member.rank, number, member.pattern});
                return false;
            };
            if (wraps || unit.kind < Kind::Later) {
                for (const auto& member : index.membersOf(number)) add(member);
            } else {
                scanner.visitAwake(number, add);
            }
        }
    }

    void finishUnit(uint32_t unit, uint32_t pos) {
        const Kind kind = index.units[unit].kind;
        if (kind == Kind::Single || wraps) return;
        if (scanner.isFinished(unit, pos)) scanner.marks.finish(unit);
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
            if (isShared(index.units[candidate.unit]) && candidate.rank < limit) {
                startSignatures(candidate, pos, limit);
            }
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
        if (unit.kind == Kind::Single) {
            scanner.result->addPart(part, pos);
            return true;
        }
        const auto [partsMatched, partEnd] = scanner.progressOf(part);
        return part.mayFollow(partsMatched, partEnd, pos) && scanner.acceptPart(part, pos);
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
        for (const auto& [part, rank, next, previous] : members) {
            if (rank > limit || scanner.own.find(part->sigid) != nullptr) continue;
            auto& entry = scanner.own.start(part->sigid);
            entry.partsMatched = 1;
            entry.partEnd = pos + part->length;
        }
    }

    IndexScanner& scanner;
    const SignatureIndex& index;
    const uint8_t* text;
    const uint32_t length;
    const uint32_t base;
    DigestFeed& feed;
    const uint32_t settled;
    const bool wraps;
    const bool isExpanded;  // progress is kept for each signature on its own
    uint32_t cutOff = 0;    // in front of it all that begins was seen whole
    // Where a signature of one part stands: nothing behind it will be judged.
    uint32_t surelyFound = std::numeric_limits<uint32_t>::max();
    Find firstBm{std::numeric_limits<uint32_t>::max(), SignatureIndex::kNoUnit};
    Match match;
    // Room for what is found as a rule: only a text full of finds allocates.
    std::array<std::byte, 2 * kFindRoom*(sizeof(Find) + sizeof(Candidate))> room;  // NOLINT
    std::pmr::monotonic_buffer_resource memory{room.data(), room.size()};
    std::pmr::vector<Find> finds{&memory};
    std::pmr::vector<Candidate> candidates{&memory};
};

IndexScanner::Match IndexScanner::virusFound(const uint8_t* text, uint32_t length, uint32_t base,
                                             uint32_t settled, DigestFeed& feed) {
    settledTo = length;
    if (index.units.empty()) return {};
    const bool wraps = base > std::numeric_limits<uint32_t>::max() - length;
    if (wentOn || wraps) marks.reopen();
    wentOn = true;  // also if the search throws
    const Match match = Pass(*this, text, length, base, settled, feed).run();
    wentOn = match.pattern != nullptr;
    return match;
}

}  // namespace STREAMENGINE_SPACE
