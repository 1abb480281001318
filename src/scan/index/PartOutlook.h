// PartOutlook: what the parts of signatures would do in a text if the search began anew at a place
// further in it.
//
// A host that resumes after a plain string drops all progress. So the rest of the text has to be
// searched again: a first part that was found before the string is found anew after it, and gaps
// may fit where they did not. A stream may hold a first part and a plain string in turns, many
// times in each text. So instead all occurrences of parts are collected once. From them follows,
// for any place, whether a signature is complete after it. Only first parts whose occurrence now
// lies before the place are looked at again, with what is below them in the tree: each occurrence
// once.
//
// What takes too many steps is left to a search, so an attempt costs a few times as much as one.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <queue>
#include <utility>
#include <vector>

#include "scan/index/GramPlaces.h"
#include "scan/index/PartLog.h"
#include "scan/text/SearchText.h"
#include "store/index/SignatureIndex.h"
#include "support/FlatMap.h"

namespace STREAMENGINE_SPACE {

class PartOutlook {
  public:
    /// Collects the occurrences of the units that a search looks for when a stream begins.
    /// @param searched  borrowed
    /// @param text      of which a search found no complete signature
    /// @throws std::bad_alloc
    PartOutlook(const SignatureIndex& searched, const SearchText& text);

    /// @param text  the end of that text; it begins no earlier than that of the last call
    /// @return whether a search of it may find a complete signature; false: it finds none
    /// @throws std::bad_alloc
    bool mayComplete(const SearchText& text);

  private:
    struct Range {
        uint32_t begin = 0;  // in starts
        uint32_t end = 0;
        // What was found last: as a rule, the next one is there or soon after it.
        uint32_t last = begin;
    };
    /// The stream offset of the first occurrence of a first part, and its node.
    using Occurrence = std::pair<uint32_t, uint32_t>;

    void collect(const SearchText& text);
    void addUnit(uint32_t unit, const Range& occurrences);
    bool follow(uint32_t root, const SearchText& text);
    bool completesBelow(uint32_t root, uint32_t start, const SearchText& text);
    void addChildren(const AcceptedPart& part, const SearchText& text);
    void addChild(uint32_t number, uint32_t previousEnd, const SearchText& text);
    std::optional<uint32_t> next(uint32_t unit, uint32_t from, const SearchText& text);
    /// Counts a step.
    /// @return false: there were too many
    bool mayStep() { return stepsLeft != 0 && --stepsLeft != 0; }
    Range find(uint32_t unit, const SearchText& text);

    const SignatureIndex& index;
    std::vector<uint32_t> roots;           // first parts in the text that were not followed yet
    std::vector<uint32_t> crowdedUnits;    // present ones whose parts are one of many children
    QLT_SPACE::FlatMap<Range> ranges;      // by unit
    std::vector<uint32_t> starts;          // stream offsets; those of a unit together, ascending
    std::optional<GramPlaces> gramPlaces;  // made when the first unit is looked for
    uint32_t placesOffset = 0;             // stream offset of the text of gramPlaces
    std::vector<AcceptedPart> pending;     // of a walk through the tree
    uint32_t stepsLeft;                    // parts that may be looked at
    std::priority_queue<Occurrence, std::vector<Occurrence>, std::greater<>> occurrences;
};

}  // namespace STREAMENGINE_SPACE
