#include "store/index/MemberTable.h"

#include <algorithm>
#include <numeric>

namespace STREAMENGINE_SPACE {
namespace {

using UnitOfPart = MemberTable::UnitOfPart;

std::pair<uint32_t, uint32_t> placeInSignature(const UnitOfPart& part) {
    return {part.second.pattern->sigid, part.second.pattern->partno};
}

/// Stores in each part the units of the parts directly before and after it. The parts of a
/// signature whose line was refused half-way may lack a successor.
void linkNeighbours(std::vector<UnitOfPart>& parts) {
    std::sort(parts.begin(), parts.end(), [](const auto& a, const auto& b) {
        return placeInSignature(a) < placeInSignature(b);
    });
    for (size_t i = 1; i < parts.size(); ++i) {
        auto [sigid, partno] = placeInSignature(parts[i - 1]);
        if (placeInSignature(parts[i]) != std::pair(sigid, partno + 1)) continue;
        parts[i - 1].second.next = parts[i].first;
        parts[i].second.previous = parts[i - 1].first;
    }
}

}  // namespace

void MemberTable::build(const std::vector<uint32_t>& ranks, std::vector<UnitOfPart> parts,
                        std::vector<uint32_t> firstUnitsBySig) {
    firstUnits = std::move(firstUnitsBySig);
    linkNeighbours(parts);
    std::sort(parts.begin(), parts.end(), [](const auto& a, const auto& b) {
        return std::pair(a.first, a.second.rank) < std::pair(b.first, b.second.rank);
    });
    for (const uint32_t rank : ranks) places.push_back({rank, 0, 0});
    members.reserve(parts.size());
    for (const auto& [unit, member] : parts) {
        Place& place = places[unit];
        const auto index = static_cast<uint32_t>(members.size());
        if (place.end == 0) place.first = index;
        place.end = index + 1;
        members.push_back(member);
    }
    listPartsBySignature();
    sortByPrevious();
}

// partMembers lists the parts of signature 1, then those of signature 2, ...; partStarts says where
// each begins. So part k of a signature is found in two loads.
void MemberTable::listPartsBySignature() {
    partStarts.assign(firstUnits.size() + 1, 0);
    for (const UnitMember& member : members) ++partStarts[member.pattern->sigid + 1];
    std::partial_sum(partStarts.begin(), partStarts.end(), partStarts.begin());
    partMembers.resize(members.size());
    for (uint32_t i = 0; i < members.size(); ++i) {
        const TriePattern& part = *members[i].pattern;
        partMembers[partStarts[part.sigid] + part.partno - 1] = i;
    }
}

// In each unit the members with the same previous unit become neighbours, so that "who may follow
// that unit here" is a binary search.
void MemberTable::sortByPrevious() {
    byPrevious.resize(members.size());
    for (const Place& place : places) {
        const auto first = byPrevious.begin() + place.first;
        const auto end = byPrevious.begin() + place.end;
        std::iota(first, end, 0);
        std::sort(first, end, [&](uint32_t a, uint32_t b) {
            const auto previous = [&](uint32_t i) { return members[place.first + i].previous; };
            return std::pair(previous(a), a) < std::pair(previous(b), b);
        });
    }
}

std::span<const uint32_t> MemberTable::membersAfter(uint32_t unit, uint32_t previous) const {
    const Place& place = places[unit];
    const auto begin = byPrevious.begin() + place.first;
    const auto end = byPrevious.begin() + place.end;
    const auto previousOf = [&](uint32_t i) { return members[place.first + i].previous; };
    return {std::lower_bound(begin, end, previous,
                             [&](uint32_t i, uint32_t sought) { return previousOf(i) < sought; }),
            std::upper_bound(begin, end, previous,
                             [&](uint32_t sought, uint32_t i) { return sought < previousOf(i); })};
}

const UnitMember* MemberTable::memberOf(uint32_t unit, uint32_t sigid, uint32_t partno) const {
    const uint32_t part = partStarts[sigid] + partno - 1;
    if (part >= partStarts[sigid + 1]) return nullptr;
    const uint32_t member = partMembers[part];
    const Place& place = places[unit];
    return member >= place.first && member < place.end ? &members[member] : nullptr;
}

}  // namespace STREAMENGINE_SPACE
