#include "scan/index/CandidateFilter.h"

#include "scan/index/UnitComparison.h"

namespace STREAMENGINE_SPACE {

void CandidateFilter::compare(uint32_t number, uint32_t start) {
    const IndexUnit& unit = context.index.units[number];
    const SearchText& text = context.text;
    const uint32_t rest = text.length - start;
    if (unit.kind == UnitKind::LaterOfMany && sleeps(number)) return;
    if (unit.kind == UnitKind::PlainString && firstString < FoundUnit{start, number}) return;
    if (!matchesAt(unit, text.bytes + start, std::min(unit.length, rest))) return;
    if (unit.length > rest) {
        undecided = std::min(undecided, start);  // the next bytes decide
    } else if (!mayHaveOffset(unit.kind) || unit.pattern->beginsAt(text.offsetOf(start))) {
        accept(number, start);
    }
}

/// @return whether no signature waits for the unit. While units wait to be judged, what they wake
///         is not known yet.
bool CandidateFilter::sleeps(uint32_t number) const {
    return found.empty() && !context.offsetsWrap && !context.progress.anyAwake(number);
}

void CandidateFilter::accept(uint32_t number, uint32_t start) {
    const IndexUnit& unit = context.index.units[number];
    if (unit.kind == UnitKind::PlainString) {
        firstString = {start, number};  // a string only changes the answer: the first one counts
        return;
    }
    found.add({start, number});
    if (unit.kind == UnitKind::Single) firstCertain = std::min(firstCertain, start);
    // The first part will be accepted, unless a match before it ends the search: then all is
    // reopened. Probes find the starts of one unit from left to right, so this is its first.
    if (context.isShared(unit)) context.states.finish(number);
    if (isPart(unit.kind)) wakeNext(number);
}

/// Prepares for the parts that may follow one that may be accepted.
void CandidateFilter::wakeNext(uint32_t number) {
    const auto members = context.index.members.membersOf(number);
    if (members.size() > kFewMembers) return;
    for (const UnitMember& member : members) {
        if (member.next != kNoUnit) context.states.wake(member.next);
    }
}

BodyMatch CandidateFilter::stringMatch() const {
    if (firstString.unit == kNoUnit) return {};
    const IndexUnit& unit = context.index.units[firstString.unit];
    return {unit.pattern, false, firstString.start + unit.length};
}

}  // namespace STREAMENGINE_SPACE
