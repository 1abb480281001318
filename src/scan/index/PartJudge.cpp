#include "scan/index/PartJudge.h"

#include <algorithm>
#include <limits>

namespace STREAMENGINE_SPACE {

bool PartJudge::judge(std::span<const FoundUnit> units) {
    const uint32_t start = units.front().start;
    for (const FoundUnit& found : units) addCandidates(found.unit);
    if (tryCandidates(start)) return true;
    for (const FoundUnit& found : units) finishUnit(found.unit, context.text.offsetOf(start));
    return false;
}

// Where offsets wrap, a part that is not the next one may become it by the acceptance of another
// part at the same place: all members are tried.
void PartJudge::addCandidates(uint32_t number) {
    const IndexUnit& unit = context.index.units[number];
    if (unit.kind == UnitKind::Single || context.isShared(unit)) {
        if (context.isShared(unit) && context.progress.isStarted(number)) return;
        candidates.push_back({context.index.members.rankOf(number), number, &unit.trie()});
        return;
    }
    const auto add = [&](const UnitMember& member) {
        candidates.push_back({member.rank, number, member.pattern});
        return false;
    };
    if (context.offsetsWrap || !isLaterPart(unit.kind)) {
        for (const UnitMember& member : context.index.members.membersOf(number)) add(member);
    } else {
        context.progress.visitAwake(number, add);
    }
}

// Of one start the candidates are tried in the order of the loaded form, up to the first that
// completes a signature. First parts that are started together come after that: they complete
// nothing (a signature of one part is not of their kind), and whether they count depends on the
// completed one. The loaded form would have tried those with a lower rank before it, and would
// never have come to those with a higher rank.
bool PartJudge::tryCandidates(uint32_t start) {
    constexpr uint32_t kNoRank = std::numeric_limits<uint32_t>::max();
    const uint32_t pos = context.text.offsetOf(start);
    std::sort(candidates.begin(), candidates.end(),
              [](const Candidate& a, const Candidate& b) { return a.rank < b.rank; });
    uint32_t completedRank = kNoRank;
    for (const Candidate& candidate : candidates) {
        if (!accept(candidate, pos)) continue;
        completed = {candidate.pattern, true, start + candidate.pattern->length};
        completedRank = candidate.rank;
        break;
    }
    for (const Candidate& candidate : candidates) {
        if (context.isShared(context.index.units[candidate.unit]) &&
            candidate.rank < completedRank) {
            context.progress.start(candidate.unit, pos + candidate.pattern->length, completedRank);
        }
    }
    candidates.clear();
    return completedRank != kNoRank;
}

/// @return whether a signature is complete with this part
bool PartJudge::accept(const Candidate& candidate, uint32_t pos) {
    const TriePattern& part = *candidate.pattern;
    const IndexUnit& unit = context.index.units[candidate.unit];
    if (context.isShared(unit)) return false;  // started together, after all others were tried
    if (unit.kind == UnitKind::Single) {
        details.addPart(part, pos);
        return true;
    }
    const auto [partsMatched, partEnd] = context.progress.of(part);
    if (!part.mayFollow(partsMatched, partEnd, pos)) return false;
    details.addPart(part, pos);
    return context.progress.accept(part, pos);
}

// A unit whose members were all accepted, or whose gaps have all grown too wide, cannot matter any
// more in this stream. So "<iframe" costs one lookup per occurrence once its successors are
// through.
void PartJudge::finishUnit(uint32_t unit, uint32_t pos) {
    if (!isPart(context.index.units[unit].kind) || context.offsetsWrap) return;
    if (context.progress.isFinished(unit, pos)) context.states.finish(unit);
}

}  // namespace STREAMENGINE_SPACE
