#include "scan/index/PartOutlook.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

#include "scan/index/AnchorWalk.h"
#include "scan/index/UnitComparison.h"

namespace STREAMENGINE_SPACE {
namespace {

constexpr uint32_t kStepsOfCall = 256;  // as many as cost less than a search

/// @return the first two bytes of a part: every part has them as literals
std::array<uint8_t, 2> leadingBytes(const TriePattern& pattern) {
    if (!pattern.isWildcard) return {pattern.sig[0], pattern.sig[1]};
    return {static_cast<uint8_t>(pattern.symbols[0]), static_cast<uint8_t>(pattern.symbols[1])};
}

}  // namespace

PartOutlook::PartOutlook(const SignatureIndex& searched, const SearchText& text)
    : index(searched), stepsLeft(text.length) {
    collect(text);
}

// The walk without live parts hands over every occurrence of every unit that counts at first.
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

void PartOutlook::addUnit(uint32_t unit, const Range& range) {
    ranges.insert(unit) = range;
    const PartTree::Use& use = index.tree.useOf(unit);
    if (use.root != kNoNode) roots.push_back({use.root, false, {}});
    bool isCrowded = use.crowded != kNoNode;
    if (use.isRare()) {
        const PartTree::RareUse& rare = index.tree.rareUseOf(use);
        for (const uint32_t node : rare.offsetRoots) roots.push_back({node, true, {}});
        isCrowded |= !rare.crowded.empty();
    }
    if (isCrowded) crowdedUnits.push_back(unit);
}

bool PartOutlook::mayComplete(const SearchText& text) {
    stepsLeft += kStepsOfCall;
    for (uint32_t root = 0; !isStarted && root < roots.size(); ++root) {
        if (follow(root, text)) return true;
    }
    isStarted = true;
    while (!occurrences.empty() && occurrences.top().first < text.streamOffset) {
        const uint32_t root = occurrences.top().second;
        occurrences.pop();
        if (follow(root, text)) return true;
    }
    return false;
}

/// Takes the first occurrence of a root in the text.
/// @return whether a signature may be complete with it
bool PartOutlook::follow(uint32_t number, const SearchText& text) {
    Root& root = roots[number];
    const PartNode& node = index.tree.node(root.node);
    root.accepted.clear();
    const uint32_t from = root.hasOffset ? node.minDistance : text.streamOffset;
    if (from < text.streamOffset) return false;
    const std::optional<uint32_t> start = next(node.unit, from, text);
    if (!start || (root.hasOffset && *start != from)) return false;
    occurrences.emplace(*start, number);
    return completesBelow(root, *start, text);
}

bool PartOutlook::completesBelow(Root& root, uint32_t start, const SearchText& text) {
    pending.assign(1, {root.node, start});
    while (!pending.empty()) {
        const AcceptedPart part = pending.back();
        pending.pop_back();
        const bool isComplete = index.tree.node(part.node).completedRank != kNoRank;
        if (isComplete || stepsLeft == 0) return true;
        --stepsLeft;
        root.accepted.push_back(part);
        addChildren(part, text);
    }
    return false;
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
        stepsLeft -= std::min(stepsLeft, 1U);
        const auto [first, last] = tree.childrenWith(node, unit);
        for (uint32_t child = first; child != last; ++child) addChild(child, end, text);
    }
}

void PartOutlook::addChild(uint32_t number, uint32_t previousEnd, const SearchText& text) {
    const PartNode& node = index.tree.node(number);
    const uint64_t earliest = node.earliest(previousEnd);
    if (earliest > std::numeric_limits<uint32_t>::max()) return;
    const auto from = static_cast<uint32_t>(earliest);
    const std::optional<uint32_t> start = next(node.unit, from, text);
    if (start && node.reaches(*start, from)) pending.push_back({number, *start});
}

/// @return the first occurrence of a unit at a stream offset or after it
std::optional<uint32_t> PartOutlook::next(uint32_t unit, uint32_t from, const SearchText& text) {
    const Range* known = ranges.find(unit);
    if (known == nullptr) {
        if (index.tree.useOf(unit).countsFirst()) return std::nullopt;
        const Range found = find(unit, text);
        known = &(ranges.insert(unit) = found);
    }
    const auto end = starts.begin() + known->end;
    const auto start = std::lower_bound(starts.begin() + known->begin, end, from);
    return start != end ? std::optional(*start) : std::nullopt;
}

/// Looks for all occurrences of a unit.
PartOutlook::Range PartOutlook::find(uint32_t unit, const SearchText& text) {
    const auto begin = static_cast<uint32_t>(starts.size());
    const RunUnit& runUnit = index.anchors.runUnits[unit];
    if (runUnit.table == RunAnchor::Shape) {
        const auto [first, second] = leadingBytes(index.units[unit].trie());
        for (uint32_t at = 0; at + 1 < text.length; ++at) {
            const auto* const place = static_cast<const uint8_t*>(
                std::memchr(text.bytes + at, first, text.length - at - 1));
            if (place == nullptr) break;
            at = static_cast<uint32_t>(place - text.bytes);
            if (place[1] == second) addIfThere(unit, at, text);
        }
    } else {
        if (!gramPlaces) {
            gramPlaces.emplace(text);
            placesOffset = text.streamOffset;
        }
        const uint32_t dropped = text.streamOffset - placesOffset;
        for (const uint32_t place : gramPlaces->of(runUnit.gram())) {
            if (place >= dropped + runUnit.anchor) {
                addIfThere(unit, place - dropped - runUnit.anchor, text);
            }
        }
    }
    return {begin, static_cast<uint32_t>(starts.size())};
}

void PartOutlook::addIfThere(uint32_t unit, uint32_t at, const SearchText& text) {
    const uint32_t length = index.units[unit].length;
    if (length > text.length - at || !matchesAt(index.units[unit], text.bytes + at, length)) return;
    starts.push_back(text.offsetOf(at));
}

PartLog PartOutlook::accepted() const {
    PartLog all;
    for (const Root& root : roots)
        all.insert(all.end(), root.accepted.begin(), root.accepted.end());
    return all;
}

}  // namespace STREAMENGINE_SPACE
