// MemberTable: the parts that share the units of an index, and the ways from one part to another.
//
// Example: A = "ab*cd" and B = "ab*ef*cd". The unit "ab" has two members, A's part 1 and B's part
// 1; the unit "cd" has two, A's part 2 and B's part 3. When "cd" is found in a stream that holds
// "ab", a search must get to A's part quickly, however many signatures have "cd".
#pragma once

#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "store/index/IndexUnit.h"

namespace STREAMENGINE_SPACE {

// A unit with at most so many members wakes the units after them one by one.
constexpr size_t kFewMembers = 8;

/// A part of a multi-part signature.
struct UnitMember {
    const TriePattern* pattern;
    uint32_t rank;                // its place in the order in which all parts are tried
    uint32_t next = kNoUnit;      // the unit of its signature's next part
    uint32_t previous = kNoUnit;  // the unit of the part before it
};

/// Built once, then read by any number of scanners.
class MemberTable {
  public:
    /// A part and the number of its unit.
    using UnitOfPart = std::pair<uint32_t, UnitMember>;

    /// Builds an empty table.
    /// @param ranks            the rank of each unit of the automaton, by unit number
    /// @param parts            all parts of multi-part signatures, in any order, their next and
    ///                         previous unset
    /// @param firstUnitsBySig  what firstUnitOf() returns, for each number of a signature
    void build(const std::vector<uint32_t>& ranks, std::vector<UnitOfPart> parts,
               std::vector<uint32_t> firstUnitsBySig);

    /// @return how many units of the automaton there are
    size_t unitCount() const { return places.size(); }
    /// @return the rank of a unit's pattern, or of the first of its members
    uint32_t rankOf(uint32_t unit) const { return places[unit].rank; }
    /// @return the members of a unit, by rank; none for UnitKind::Single
    std::span<const UnitMember> membersOf(uint32_t unit) const {
        return {members.data() + places[unit].first, members.data() + places[unit].end};
    }
    /// @return those members of a unit whose parts directly follow a part of another unit, as
    ///         indexes into membersOf(unit)
    std::span<const uint32_t> membersAfter(uint32_t unit, uint32_t previous) const;
    /// @return the member of the unit that is part partno, from 1, of a signature; null if none is
    const UnitMember* memberOf(uint32_t unit, uint32_t sigid, uint32_t partno) const;
    /// @return the unit of a signature's first part; kNoUnit if that part has an offset
    uint32_t firstUnitOf(uint32_t sigid) const { return firstUnits[sigid]; }

  private:
    struct Place {
        uint32_t rank;
        uint32_t first;  // in members
        uint32_t end;
    };

    void listPartsBySignature();
    void sortByPrevious();

    std::vector<Place> places;          // of each unit of the automaton
    std::vector<UnitMember> members;    // unit by unit
    std::vector<uint32_t> byPrevious;   // unit by unit, indexes of its members, sorted by previous
    std::vector<uint32_t> partStarts;   // by sigid, in partMembers; and the end of the last
    std::vector<uint32_t> partMembers;  // signature by signature, part by part: indexes in members
    std::vector<uint32_t> firstUnits;   // by sigid
};

}  // namespace STREAMENGINE_SPACE
