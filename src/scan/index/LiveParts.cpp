#include "scan/index/LiveParts.h"

#include <algorithm>
#include <array>
#include <limits>

#include "scan/index/SearchCounts.h"

namespace STREAMENGINE_SPACE {

LiveParts& LiveParts::ofThread(const SignatureIndex& searched) {
    thread_local std::array<LiveParts, 2> states;
    thread_local size_t last = 0;
    if (states[last].buildNumber != searched.buildNumber) last = 1 - last;
    return states[last];
}

void LiveParts::adopt(const SignatureIndex& searched, const StreamKey& stream, PartLog& accepted) {
    const bool isSame = buildNumber == searched.buildNumber;
    const bool isCurrent = isSame && key == stream && applied == accepted.size();
    key = {};
    log = &accepted;
    if (isCurrent) return;
    ZVK_COUNT(restored, 1);
    if (isSame) {
        undo();
    } else {
        install(searched);
    }
    replay();
}

void LiveParts::release(const StreamKey& stream) {
    key = stream;
    applied = log->size();
    log = nullptr;
}

void LiveParts::install(const SignatureIndex& searched) {
    buildNumber = 0;  // if one of the following throws
    index = &searched;
    const PartTree& tree = searched.tree;
    baseStates.resize(tree.unitCount());
    for (uint32_t unit = 0; unit < tree.unitCount(); ++unit) {
        const PartTree::Use& use = tree.useOf(unit);
        baseStates[unit] = static_cast<uint8_t>((use.root != kNoNode ? kRootOpen : 0) |
                                                (use.crowded != kNoNode ? kCrowdedOpen : 0) |
                                                (use.isRare() ? kRare : 0));
    }
    states = baseStates;
    heaps.assign(tree.unitCount(), WaitingHeaps::kEmpty);
    isAccepted.assign(tree.nodeCount(), 0);
    wide.adopt(searched.anchors.wideAnchors);
    narrow.adopt(searched.anchors.narrowAnchors);
    touched.clear();
    acceptedNodes.clear();
    undo();
    buildNumber = searched.buildNumber;
}

/// Goes back to the beginning of a stream.
void LiveParts::undo() {
    for (const uint32_t unit : touched) {
        states[unit] = baseStates[unit];
        heaps[unit] = WaitingHeaps::kEmpty;
    }
    for (const uint32_t node : acceptedNodes) isAccepted[node] = 0;
    wide.restore();
    narrow.restore();
    waiting.clear();
    acceptedNodes.clear();
    touched.clear();
    woken.clear();
    crowdedParents.clear();
    crowdedNumbers.clear();
    crowdedAsked.clear();
}

// Parts whose gap has grown too wide wait again, until they are found to be over once more.
void LiveParts::replay() {
    for (const AcceptedPart& part : *log) {
        acceptedNodes.push_back(part.node);
        isAccepted[part.node] = 1;
    }
    for (const AcceptedPart& part : *log) {
        const PartNode& node = index->tree.node(part.node);
        const PartTree::Use& use = index->tree.useOf(node.unit);
        if (use.root == part.node) close(node.unit, kRootOpen);
        if (use.crowded == part.node) close(node.unit, kCrowdedOpen);
        wakeChildren(node, part.node, part.start + index->units[node.unit].length);
    }
    woken.clear();
}

uint32_t LiveParts::occur(uint32_t unit, uint32_t pos) {
    ZVK_COUNT(occurrences, 1);
    uint32_t completed = kNoNode;
    const uint8_t before = states[unit];
    if ((before & kRootOpen) != 0) {
        close(unit, kRootOpen);
        completed = accept(index->tree.useOf(unit).root, pos);
    }
    if ((before & kCrowdedOpen) != 0) {
        completed = firstCompleted(completed, occurAmongMany(unit, pos));
    }
    if ((before & kRare) != 0) completed = firstCompleted(completed, occurRarely(unit, pos));
    if ((states[unit] & kWaiting) == 0) return completed;
    while (heaps[unit] != WaitingHeaps::kEmpty) {
        const auto [earliest, number, child, sibling] = waiting.top(heaps[unit]);
        if (earliest > pos) return completed;
        heaps[unit] = waiting.drop(heaps[unit]);
        if (!index->tree.node(number).reaches(pos, earliest)) continue;
        completed = firstCompleted(completed, accept(number, pos));
    }
    states[unit] &= static_cast<uint8_t>(~kWaiting);
    return completed;
}

/// @return the node if a signature is complete with it, else kNoNode
uint32_t LiveParts::accept(uint32_t number, uint32_t pos) {
    ZVK_COUNT(accepted, 1);
    const PartNode& node = index->tree.node(number);
    acceptedNodes.push_back(number);
    isAccepted[number] = 1;
    log->push_back({number, pos});
    if (node.childCount != 0) {
        wakeChildren(node, number, pos + index->anchors.runUnits[node.unit].length);
    }
    return node.completedRank != kNoRank ? number : kNoNode;
}

void LiveParts::wakeChildren(const PartNode& parent, uint32_t number, uint32_t end) {
    if (parent.childCount > PartTree::kFewChildren) {
        crowdedNumbers.findOrInsert(number) = static_cast<uint32_t>(crowdedParents.size());
        crowdedParents.push_back({number, end});
        return;
    }
    for (uint32_t i = 0; i < parent.childCount; ++i) wait(parent.firstChild + i, end);
}

/// Makes a part wait for its unit, unless it was accepted already.
void LiveParts::wait(uint32_t number, uint32_t previousEnd) {
    const PartNode& node = index->tree.node(number);
    const uint64_t earliest = node.earliest(previousEnd);
    if (isAccepted[number] != 0 || earliest > std::numeric_limits<uint32_t>::max()) return;
    const uint32_t unit = node.unit;
    if ((states[unit] & kWaiting) == 0) touched.push_back(unit);
    heaps[unit] = waiting.add(heaps[unit], static_cast<uint32_t>(earliest), number);
    if (states[unit] == 0) wake(unit);
    states[unit] |= kWaiting;
}

/// Marks the grams of a unit that is not alive yet.
void LiveParts::wake(uint32_t unit) {
    const RunUnit& runUnit = index->anchors.runUnits[unit];
    const uint8_t* const gram = runUnit.gram();
    if (runUnit.table == RunAnchor::Wide) {
        for (uint32_t i = 0; i < kWideStride; ++i) {
            wide.set(index->anchors.wideAnchors.hash(gram + i), RunAnchorEntry(unit, i).value);
        }
    } else if (runUnit.table == RunAnchor::Narrow) {
        narrow.set(index->anchors.narrowAnchors.hash(gram), RunAnchorEntry(unit, 0).value);
    }
    woken.push_back(unit);
    ZVK_COUNT(woken, 1);
}

// It is over for good if it occurs and its gap has grown too wide.
uint32_t LiveParts::occurAmongMany(uint32_t unit, uint32_t pos) {
    const uint32_t number = index->tree.useOf(unit).crowded;
    const uint32_t* const parent = crowdedNumbers.find(index->tree.parentOf(number));
    if (parent == nullptr) return kNoNode;
    const PartNode& node = index->tree.node(number);
    const uint64_t earliest = node.earliest(crowdedParents[*parent].end);
    if (pos < earliest) return kNoNode;
    close(unit, kCrowdedOpen);
    return node.reaches(pos, static_cast<uint32_t>(earliest)) ? accept(number, pos) : kNoNode;
}

uint32_t LiveParts::occurRarely(uint32_t unit, uint32_t pos) {
    const PartTree& tree = index->tree;
    const PartTree::Use& use = tree.useOf(unit);
    uint32_t completed = kNoNode;
    const PartTree::RareUse& rare = tree.rareUseOf(use);
    const auto& roots = rare.offsetRoots;
    auto root = std::lower_bound(roots.begin(), roots.end(), pos, [&](uint32_t node, uint32_t at) {
        return tree.node(node).minDistance < at;
    });
    for (; root != roots.end() && tree.node(*root).minDistance == pos; ++root) {
        if (isAccepted[*root] == 0) completed = firstCompleted(completed, accept(*root, pos));
    }
    if (!rare.crowded.empty()) askCrowdedParents(unit, rare);
    return completed;
}

// A unit asks each parent once, so what it costs is bounded by the pairs of units and parents that
// the set has, and by the parts that the stream holds.
void LiveParts::askCrowdedParents(uint32_t unit, const PartTree::RareUse& rare) {
    const PartTree& tree = index->tree;
    uint32_t& asked = crowdedAsked.findOrInsert(unit);
    const auto from = asked;
    const auto count = static_cast<uint32_t>(crowdedParents.size());
    if (from == count) return;
    touched.push_back(unit);
    asked = count;
    if (rare.crowded.size() <= count - from) {
        for (const uint32_t node : rare.crowded) {
            const uint32_t* const number = crowdedNumbers.find(tree.parentOf(node));
            if (number != nullptr && *number >= from) wait(node, crowdedParents[*number].end);
        }
        return;
    }
    for (uint32_t i = from; i < count; ++i) {
        const auto [parent, partEnd] = crowdedParents[i];
        const auto [first, last] = tree.childrenWith(tree.node(parent), unit);
        for (uint32_t node = first; node != last; ++node) wait(node, partEnd);
    }
}

uint32_t LiveParts::firstCompleted(uint32_t one, uint32_t other) const {
    if (one == kNoNode || other == kNoNode) return one == kNoNode ? other : one;
    const PartTree& tree = index->tree;
    return tree.node(other).completedRank < tree.node(one).completedRank ? other : one;
}

}  // namespace STREAMENGINE_SPACE
