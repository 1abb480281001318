#include "scan/index/SignatureProgress.h"

namespace STREAMENGINE_SPACE {

void SignatureProgress::clear() {
    started.clear();
    own.clear();
    asleep.clear();
    acceptances = 0;
}

SignatureProgress::Progress SignatureProgress::of(const TriePattern& part) const {
    if (const Progress* known = own.find(part.sigid)) return *known;
    const uint32_t first = index.members.firstUnitOf(part.sigid);
    const uint32_t* firstEnd = first != kNoUnit ? started.find(first) : nullptr;
    return firstEnd != nullptr ? Progress{1, *firstEnd} : Progress{};
}

// A hostile text may hold a part of 10,000 sleeping signatures again and again. Nothing wakes them
// but an acceptance, so until the count of acceptances changes the answer stays "no".
bool SignatureProgress::anyAwake(uint32_t unit) {
    if (started.empty() && own.empty()) return false;
    uint32_t* known = asleep.find(unit);
    if (known != nullptr && *known == acceptances) return false;
    if (visitAwake(unit, [](const UnitMember& /*member*/) { return true; })) return true;
    if (known == nullptr) known = &asleep.insert(unit);
    *known = acceptances;
    return false;
}

// Two ways to be finished: the signature is past the part, or it waits for the part and the gap has
// grown too wide. Both hold for good, as positions only grow.
bool SignatureProgress::isFinished(uint32_t unit, uint32_t pos) const {
    const auto members = index.members.membersOf(unit);
    if (members.size() > kFewMembers) return false;  // asking all of them would cost too much
    return std::all_of(members.begin(), members.end(), [&](const UnitMember& member) {
        const TriePattern& part = *member.pattern;
        const auto [partsMatched, partEnd] = of(part);
        if (partsMatched + 1 != part.partno) return partsMatched >= part.partno;
        return part.maxDistance != 0 && pos > partEnd && pos - partEnd > part.maxDistance;
    });
}

bool SignatureProgress::accept(const TriePattern& part, uint32_t pos) {
    const uint32_t partsMatched = of(part).partsMatched + 1;
    own.findOrInsert(part.sigid) = {partsMatched, pos + part.length};
    ++acceptances;
    return partsMatched == part.parts;
}

// As a rule all signatures of the unit start together and share one entry. If another signature of
// the same place was complete between them, those before it get entries of their own.
void SignatureProgress::start(uint32_t firstUnit, uint32_t partEnd, uint32_t limit) {
    const auto members = index.members.membersOf(firstUnit);
    ++acceptances;
    if (members.back().rank < limit) {
        started.insert(firstUnit) = partEnd;
        return;
    }
    for (const UnitMember& member : members) {
        const uint32_t sigid = member.pattern->sigid;
        if (member.rank > limit || own.find(sigid) != nullptr) continue;
        own.insert(sigid) = {1, partEnd};
    }
}

}  // namespace STREAMENGINE_SPACE
