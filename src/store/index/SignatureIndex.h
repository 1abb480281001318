// SignatureIndex: the scan form of a set, compiled from the trees and lists that were loaded.
//
// The records stay where they were loaded; here is what leads to them. A unit is what the text is
// compared with: a single-part signature, or the content that parts of multi-part signatures have
// in common. Wildcards are one symbol long, so a unit has a length, and each of its literal bytes a
// fixed place. Of these one run, the anchor, is chosen that is rare in the set, and so, the set
// being cut from such text, in text; the text is searched for anchors alone:
//
//   - Steps. Where ten literal bytes stand in a row, the four grams of seven bytes among them are
//     entered: of an occurrence one of the four begins at a multiple of four, so that it is enough
//     to look at every fourth position of the text.
//   - Runs. Of shorter rows, and of rows that too many units share, a filter knows two grams, a
//     byte narrower than the shortest of these rows, and every second position is looked at. Where
//     it lets one through, the row may begin there or a byte in front: there wider grams are looked
//     for, of the whole row if it is short.
//   - Pairs. What has no row of four is entered with two bytes.
//
// Order. Where several units match, the first in the load form's order is told: by the start of the
// match, at one start the shorter prefix, then by place in the node's lists. Units are numbered in
// that order, the automaton's in front of the shift table's.
//
// Built by one thread in PatternContainer::prepare(), then read by any number of scanners.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "store/index/GramTable.h"
#include "store/record/VQPattern.h"
#include "support/VectorUnit.h"

namespace STREAMENGINE_SPACE {

class BmList;
class TrieTree;

class SignatureIndex {
  public:
    // Positions from one look to the next, into the table of steps and into the filter of runs.
    static constexpr uint32_t kStep = 4;
    static constexpr uint32_t kRunStep = 2;
    static constexpr uint32_t kStepWidth = 7;
    static constexpr uint32_t kLeastRun = 4;
    static constexpr uint32_t kLongRunWidth = 7;
    static constexpr uint32_t kPairWidth = 2;
    static constexpr uint32_t kAnchorRoom = 256;  // symbols of a unit among which its anchor lies
    static constexpr uint32_t kNoUnit = 0xFFFFFFFF;
    static constexpr uint32_t kMostUnits = (1U << 26) - 1;  // what the tables can number

    enum class Kind : uint8_t {
        Bm,           // of the shift table
        Single,       // one part
        OffsetFirst,  // the first part of a signature with an offset
        First,        // the first part, without an offset, of all signatures that begin so
        Later,        // a later part of all signatures that have it
        LaterOfMany   // the same, where one in front of it belongs to more signatures than can be
                      // woken one by one
    };
    static constexpr size_t kFewMembers = 8;

    struct Unit {
        const VQPattern* pattern;  // a TriePattern but for Kind::Bm; of several the newest
        uint32_t length;           // symbols
        Kind kind;
        uint8_t anchor;  // symbol at which the anchor's (first) gram begins
        // The last literal among the first kAnchorRoom symbols, and its value: most candidates fail
        // here, before the record is touched.
        uint8_t checkOffset;
        uint8_t checkByte;

        const TriePattern& trie() const { return static_cast<const TriePattern&>(*pattern); }
        const BmPattern& bm() const { return static_cast<const BmPattern&>(*pattern); }
    };
    static_assert(sizeof(Unit) <= 16);

    /// A part of a multi-part signature, with its place in the order of all parts.
    struct Member {
        const TriePattern* pattern;
        uint32_t rank;
        uint32_t next;      // the unit of its signature's next part, or kNoUnit
        uint32_t previous;  // of the part in front, likewise
    };

    /// What the tables of runs and pairs say of a gram.
    struct Run {
        uint32_t tail;  // up to four literal bytes behind the gram
        uint32_t tailLength : 3;
        uint32_t kind : 3;  // a Kind: what sleeps is passed by without a look at its unit
        uint32_t unit : 26;

        Kind kindOf() const { return static_cast<Kind>(kind); }
    };
    static_assert(sizeof(Run) == 8);

    /// Compiles; both have to be prepared and are borrowed until reset().
    /// @throws std::bad_alloc, also for more than kMostUnits, and is to be reset then
    void build(const TrieTree& trieTree, const BmList& bmList, QLT_SPACE::VectorUnit unit);
    void reset();

    bool isBuilt() const { return built; }
    bool hasTrieUnits() const { return !places.empty(); }
    uint32_t rankOf(uint32_t unit) const { return places[unit].rank; }
    /// @return the members of a unit of the automaton, in order; of Kind::Single none
    std::span<const Member> membersOf(uint32_t unit) const {
        return {members.data() + places[unit].firstMember, members.data() + places[unit].endMember};
    }
    /// @return those members of a unit whose parts stand behind a part of the other unit, by their
    ///         places in membersOf(unit)
    std::span<const uint32_t> membersBehind(uint32_t unit, uint32_t previous) const;
    /// @return the member of the unit that is part partno, from 1, of a signature; null if it is
    /// none
    const Member* memberOf(uint32_t unit, uint32_t sigid, uint32_t partno) const;
    /// @return the unit of a multi-part signature's first part; kNoUnit if that has an offset
    uint32_t firstUnitOf(uint32_t sigid) const { return firstUnits[sigid]; }

    GramTable<uint32_t> steps{kStepWidth};  // kStep * unit + place of the gram
    GramFilter runs{kLeastRun};
    GramTable<Run> shortRuns;
    GramTable<Run> longRuns{kLongRunWidth};
    GramTable<Run> pairs{kPairWidth};
    std::vector<Unit> units;
    QLT_SPACE::VectorUnit vectorUnit = QLT_SPACE::VectorUnit::Baseline;  // that searches it
    uint32_t reach = 0;  // bytes from a match's start to the furthest look that finds it

  private:
    class Compiler;

    /// What only a unit of the automaton has.
    struct Place {
        uint32_t rank;  // of its pattern, or of the first of its members
        uint32_t firstMember;
        uint32_t endMember;
    };

    bool built = false;
    std::vector<Place> places;          // of the automaton's units
    std::vector<Member> members;        // unit by unit
    std::vector<uint32_t> byPrevious;   // places of members in their units, unit by unit, sorted
    std::vector<uint32_t> partStarts;   // by sigid: in partMembers; and the end of the last
    std::vector<uint32_t> partMembers;  // part by part: in members
    std::vector<uint32_t> firstUnits;   // by sigid
};

}  // namespace STREAMENGINE_SPACE
