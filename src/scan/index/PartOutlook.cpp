#include "scan/index/PartOutlook.h"

#include <algorithm>
#include <limits>

#include "scan/index/AnchorWalk.h"
#include "scan/index/UnitComparison.h"

namespace STREAMENGINE_SPACE {
namespace {

// A step costs about as much as the search of ten bytes.
constexpr uint32_t kBytesOfStep = 4;
constexpr uint32_t kStepsOfCall = 256;

}  // namespace

PartOutlook::PartOutlook(const SignatureIndex& searched, const SearchText& text)
    : index(searched), stepsLeft(text.length / kBytesOfStep) {
    collect(text);
}

// The walk without live parts hands over every occurrence of every unit that counts at first, and
// of those that are found by their shape.
void PartOutlook::collect(const SearchText& text) {
    SearchText whole = text;
    whole.decidedTo = 0;
    std::vector<FoundUnit> found;
    DigestFeed none;
    CandidateFilter filter(index, whole, nullptr, found);
    AnchorWalk walk(index, whole, nullptr, filter, none);
    for (uint32_t at = 0; at < whole.length;) {
        const uint32_t stop = at + std::min(AnchorWalk::kLongestStretch, whole.length - at);
        walk.advance(at, stop);
        at = stop;
    }
    const auto isOther = [&](const FoundUnit& each) { return each.unit >= index.tree.unitCount(); };
    std::erase_if(found, isOther);
    std::sort(found.begin(), found.end(), [](const FoundUnit& a, const FoundUnit& b) {
        return std::pair(a.unit, a.start) < std::pair(b.unit, b.start);
    });
    for (size_t i = 0; i < found.size();) {
        const uint32_t unit = found[i].unit;
        const auto begin = static_cast<uint32_t>(i);
        for (; i < found.size() && found[i].unit == unit; ++i) starts.push_back(found[i].start);
        addUnit(unit, {begin, static_cast<uint32_t>(i)});
    }
}

// First parts with an offset have one place. What follows from it was decided by the search.
void PartOutlook::addUnit(uint32_t unit, const Range& range) {
    ranges.insert(unit) = range;
    const PartTree& tree = index.tree;
    const PartTree::Use& use = tree.useOf(unit);
    if (use.root != kNoNode) roots.push_back(use.root);
    const bool isRareCrowded = use.isRare() && !tree.rareUseOf(use).crowded.empty();
    if (use.crowded != kNoNode || isRareCrowded) crowdedUnits.push_back(unit);
}

bool PartOutlook::mayComplete(const SearchText& text) {
    stepsLeft += kStepsOfCall;
    for (; !roots.empty(); roots.pop_back()) {
        if (follow(roots.back(), text)) return true;
    }
    while (!occurrences.empty() && occurrences.top().first < text.streamOffset) {
        const uint32_t root = occurrences.top().second;
        occurrences.pop();
        if (follow(root, text)) return true;
    }
    return false;
}

/// Takes the first occurrence of a first part in the text.
/// @return whether a signature may be complete with it
bool PartOutlook::follow(uint32_t root, const SearchText& text) {
    const auto start = next(index.tree.node(root).unit, text.streamOffset, text);
    if (!start) return false;
    occurrences.emplace(*start, root);
    return completesBelow(root, *start, text);
}

bool PartOutlook::completesBelow(uint32_t root, uint32_t start, const SearchText& text) {
    pending.assign(1, {root, start});
    while (!pending.empty()) {
        const AcceptedPart part = pending.back();
        pending.pop_back();
        if (index.tree.node(part.node).completedRank != kNoRank) return true;
        addChildren(part, text);
    }
    return stepsLeft == 0;
}

/// Adds the children of a part that are in the text after it to those that are accepted.
void PartOutlook::addChildren(const AcceptedPart& part, const SearchText& text) {
    const PartTree& tree = index.tree;
    const PartNode& node = tree.node(part.node);
    const uint32_t end = part.start + index.units[node.unit].length;
    if (node.childCount <= PartTree::kFewChildren) {
        for (uint32_t i = 0; i < node.childCount; ++i) addChild(node.firstChild + i, end, text);
        return;
    }
    for (const uint32_t unit : crowdedUnits) {
        if (!mayStep()) return;
        const auto [first, last] = tree.childrenWith(node, unit);
        for (uint32_t child = first; child != last; ++child) addChild(child, end, text);
    }
}

void PartOutlook::addChild(uint32_t number, uint32_t previousEnd, const SearchText& text) {
    if (!mayStep()) return;
    const PartNode& node = index.tree.node(number);
    const uint64_t earliest = node.earliest(previousEnd);
    if (earliest > std::numeric_limits<uint32_t>::max()) return;
    const auto from = static_cast<uint32_t>(earliest);
    const std::optional<uint32_t> start = next(node.unit, from, text);
    if (start && node.reaches(*start, from)) pending.push_back({number, *start});
}

/// @return the first occurrence of a unit at a stream offset or after it
std::optional<uint32_t> PartOutlook::next(uint32_t unit, uint32_t from, const SearchText& text) {
    Range* known = ranges.find(unit);
    if (known == nullptr) {
        const bool wasSought = index.tree.useOf(unit).countsFirst() ||
                               index.anchors.runUnits[unit].table == RunAnchor::Shape;
        if (wasSought) return std::nullopt;
        const Range found = find(unit, text);
        known = &(ranges.insert(unit) = found);
    }
    uint32_t at = known->last;
    if (at != known->begin && starts[at - 1] >= from) {
        const auto begin = starts.begin() + known->begin;
        at = static_cast<uint32_t>(std::lower_bound(begin, starts.begin() + at, from) -
                                   starts.begin());
    }
    if (at != known->end && starts[at] < from) {
        const auto end = starts.begin() + known->end;
        at = static_cast<uint32_t>(std::lower_bound(starts.begin() + at, end, from) -
                                   starts.begin());
    }
    known->last = at;
    return at != known->end ? std::optional(starts[at]) : std::nullopt;
}

/// Looks for all occurrences of a unit that has a gram.
PartOutlook::Range PartOutlook::find(uint32_t unit, const SearchText& text) {
    if (!gramPlaces) {
        gramPlaces.emplace(text);
        placesOffset = text.streamOffset;
    }
    const auto begin = static_cast<uint32_t>(starts.size());
    const RunUnit& runUnit = index.anchors.runUnits[unit];
    const uint32_t dropped = text.streamOffset - placesOffset;
    for (const uint32_t place : gramPlaces->of(runUnit.gram())) {
        if (place < dropped + runUnit.anchor) continue;
        const uint32_t at = place - dropped - runUnit.anchor;
        const uint32_t rest = text.length - at;
        const IndexUnit& sought = index.units[unit];
        const bool isThere =
            sought.length <= rest &&
            CandidateFilter::windowFits(runUnit, text.bytes + at + runUnit.windowAt) &&
            matchesAt(sought, text.bytes + at, sought.length);
        if (isThere) starts.push_back(text.offsetOf(at));
    }
    return {begin, static_cast<uint32_t>(starts.size())};
}

}  // namespace STREAMENGINE_SPACE
