// SignatureProgress: how far the multi-part signatures of a stream have come.
//
// Only signatures under way have an entry, so memory and the cost of starting a stream depend on
// what the stream holds and not on the size of the set. A first part that many signatures share
// starts all of them with one entry: of 10,000 signatures that begin "<iframe", the first "<iframe"
// of a stream costs one insertion. A signature gets an entry of its own with its second part.
#pragma once

#include <algorithm>
#include <cstdint>

#include "store/index/SignatureIndex.h"
#include "support/FlatMap.h"

namespace STREAMENGINE_SPACE {

class SignatureProgress {
  public:
    struct Progress {
        uint32_t partsMatched = 0;  // parts accepted so far
        uint32_t partEnd = 0;       // stream offset just after the last of them
    };

    /// Borrows the index for its life.
    explicit SignatureProgress(const SignatureIndex& searched) : index(searched) {}

    /// Forgets all.
    void clear();

    /// @return how far a part's signature has come
    Progress of(const TriePattern& part) const;
    /// @return whether all signatures of a unit of first parts were started together
    bool isStarted(uint32_t firstUnit) const { return started.find(firstUnit) != nullptr; }

    /// Visits the members of a unit that are the next parts of their signatures. Costs as many
    /// steps as the unit has members or as signatures are under way, whichever is less.
    /// @param visit  takes a UnitMember and returns whether to stop
    /// @return whether it was stopped
    bool visitAwake(uint32_t unit, const auto& visit) const;
    /// @return whether visitAwake() would visit a member; remembers a "no" until the next
    ///         acceptance. For units of UnitKind::LaterOfMany.
    bool anyAwake(uint32_t unit);
    /// @return whether no member of the unit can be accepted at stream offset pos or later
    bool isFinished(uint32_t unit, uint32_t pos) const;

    /// Accepts a part, which has to be the next one of its signature.
    /// @return whether the signature is complete
    bool accept(const TriePattern& part, uint32_t pos);

    /// Accepts a unit of first parts for those of its signatures that were tried before another
    /// signature was complete. The others stay as they are: the host may let the search go on
    /// without a reset.
    /// @param partEnd  stream offset just after the part
    /// @param limit    rank of the signature that was complete; UINT32_MAX if none was
    void start(uint32_t firstUnit, uint32_t partEnd, uint32_t limit);

  private:
    bool isAwake(const TriePattern& part) const { return of(part).partsMatched + 1 == part.partno; }

    const SignatureIndex& index;
    QLT_SPACE::FlatMap<uint32_t> started;  // first-part unit: stream offset of its end
    QLT_SPACE::FlatMap<Progress> own;      // sigid: progress after the second part
    QLT_SPACE::FlatMap<uint32_t> asleep;   // by unit: the acceptance count when all members slept
    uint32_t acceptances = 0;
};

bool SignatureProgress::visitAwake(uint32_t unit, const auto& visit) const {
    const auto members = index.members.membersOf(unit);
    if (members.size() <= started.size() + own.size()) {
        return std::any_of(members.begin(), members.end(), [&](const UnitMember& member) {
            return isAwake(*member.pattern) && visit(member);
        });
    }
    // Fewer signatures are under way than have this part.
    const auto visitNextPart = [&](uint32_t sigid, const Progress& progress) {
        const auto* member = index.members.memberOf(unit, sigid, progress.partsMatched + 1);
        return member != nullptr && visit(*member);
    };
    const auto visitSecondParts = [&](uint32_t firstUnit, uint32_t /*partEnd*/) {
        const auto after = index.members.membersAfter(unit, firstUnit);
        return std::any_of(after.begin(), after.end(), [&](uint32_t i) {
            const TriePattern& part = *members[i].pattern;
            return isAwake(part) && own.find(part.sigid) == nullptr && visit(members[i]);
        });
    };
    return own.anyOf(visitNextPart) || started.anyOf(visitSecondParts);
}

}  // namespace STREAMENGINE_SPACE
