#include "scan/index/PartJudge.h"

#include <algorithm>
#include <limits>

namespace STREAMENGINE_SPACE {

PartJudge::PartJudge(const SignatureIndex& searched, const SearchText& searchText,
                     SignatureProgress& streamProgress, UnitStates& unitStates,
                     ScanResult& partDetails, bool startsTogether)
    : index(searched),
      text(searchText),
      progress(streamProgress),
      states(unitStates),
      details(partDetails),
      wraps(searchText.offsetsWrap()),
      sharesFirst(startsTogether) {}

bool PartJudge::judge(std::span<const FoundUnit> units) {
    const uint32_t start = units.front().start;
    for (const FoundUnit& found : units) addCandidates(found.unit);
    if (tryCandidates(start)) return true;
    for (const FoundUnit& found : units) finishUnit(found.unit, text.offsetOf(start));
    return false;
}

void PartJudge::addCandidates(uint32_t number) {
    const IndexUnit& unit = index.units[number];
    if (unit.kind == UnitKind::Single || isShared(unit)) {
        if (isShared(unit) && progress.isStarted(number)) return;
        candidates.push_back({index.members.rankOf(number), number, &unit.trie()});
        return;
    }
    const auto add = [&](const UnitMember& member) {
        candidates.push_back({member.rank, number, member.pattern});
        return false;
    };
    if (wraps || !isLaterPart(unit.kind)) {
        for (const UnitMember& member : index.members.membersOf(number)) add(member);
    } else {
        progress.visitAwake(number, add);
    }
}

bool PartJudge::tryCandidates(uint32_t start) {
    constexpr uint32_t kNoRank = std::numeric_limits<uint32_t>::max();
    const uint32_t pos = text.offsetOf(start);
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
        if (isShared(index.units[candidate.unit]) && candidate.rank < completedRank) {
            progress.start(candidate.unit, pos + candidate.pattern->length, completedRank);
        }
    }
    candidates.clear();
    return completedRank != kNoRank;
}

/// @return whether a signature is complete with this part
bool PartJudge::accept(const Candidate& candidate, uint32_t pos) {
    const TriePattern& part = *candidate.pattern;
    const IndexUnit& unit = index.units[candidate.unit];
    if (isShared(unit)) return false;  // started together, after all others were tried
    if (unit.kind == UnitKind::Single) {
        details.addPart(part, pos);
        return true;
    }
    const auto [partsMatched, partEnd] = progress.of(part);
    if (!part.mayFollow(partsMatched, partEnd, pos)) return false;
    details.addPart(part, pos);
    return progress.accept(part, pos);
}

void PartJudge::finishUnit(uint32_t unit, uint32_t pos) {
    if (!isPart(index.units[unit].kind) || wraps) return;
    if (progress.isFinished(unit, pos)) states.finish(unit);
}

}  // namespace STREAMENGINE_SPACE
