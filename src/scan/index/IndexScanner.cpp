#include "scan/index/IndexScanner.h"

#include <algorithm>
#include <atomic>
#include <limits>
#include <optional>
#include <tuple>
#include <utility>
#include <vector>

#include "scan/index/AnchorWalk.h"
#include "scan/plain/TrieScanner.h"
#include "support/EngineOption.h"

namespace STREAMENGINE_SPACE {
namespace {

/// @return whether some of the signatures that share a part come before a rank and some after it
bool isSplitBy(const PartTree& tree, uint32_t node, uint32_t rank) {
    const uint32_t depth = tree.depthOf(node);
    bool isBefore = false, isAfter = false;
    for (uint32_t i = tree.node(node).firstSignature; i < tree.node(node).endSignature; ++i) {
        (tree.partOf(i, depth).rank <= rank ? isBefore : isAfter) = true;
    }
    return isBefore && isAfter;
}

}  // namespace

void IndexScanner::reset() {
    forgetParts();
    forgetText();
    offsetsCameAgain = false;
    continuedWithoutReset = false;
}

void IndexScanner::forgetText() {
    areStringsKept = false;
    needsOutlook = false;
    outlook.reset();
}

void IndexScanner::forgetParts() {
    if (!log.empty()) ++epoch;
    log.clear();
    newestEntry = 0;
    forgetLeast();
}

void IndexScanner::forgetLeast() {
    considered = 0;
    leastStart = std::numeric_limits<uint32_t>::max();
}

// The search went on to the end of the text, past the string, because a signature of the automaton
// would have come before it. A search from the string's end finds the same strings. If all parts
// that were accepted begin there or later, it accepts the same ones; otherwise a PartOutlook
// decides whether a signature is complete. So a text that repeats a string costs no search for each
// of them.
uint32_t IndexScanner::resetAfterString(uint32_t end) {
    if (!isWholeTextSearched || ops.wantsDetail() || offsetsCameAgain) {
        reset();
        return 0;
    }
    strings.skipBefore(end, lastOffset);
    lastOffset += end;
    lastLength -= end;
    decidedEnd -= std::min(decidedEnd, end);
    continuedWithoutReset = false;
    areStringsKept = true;
    if (firstAccepted() < lastOffset) {
        forgetParts();
        needsOutlook = true;
    }
    return needsOutlook ? 0 : decidedEnd;
}

/// @return the least stream offset at which an accepted part begins
uint32_t IndexScanner::firstAccepted() {
    for (; considered < log.size(); ++considered) {
        leastStart = std::min(leastStart, log[considered].start);
    }
    return leastStart;
}

StreamKey IndexScanner::key() {
    static std::atomic<uint64_t> scanners{0};
    if (ownNumber == 0) ownNumber = ++scanners;
    return {ownNumber, epoch};
}

bool IndexScanner::mustWalk(const SearchText& text) const {
    if (index.tree.unitCount() == 0) return false;
    if (text.offsetsWrap()) return true;
    return continuedWithoutReset &&
           std::any_of(log.begin() + newestEntry, log.end(), [this](const auto& part) {
               return part.start == lastMatch.start &&
                      isSplitBy(index.tree, part.node, lastMatch.rank);
           });
}

/// Drops what was accepted after the last match: the search had gone ahead.
void IndexScanner::goOnAfterMatch() {
    ++epoch;
    forgetLeast();
    offsetsCameAgain = true;
    const auto isAfter = [this](const AcceptedPart& part) {
        if (part.start != lastMatch.start) return part.start > lastMatch.start;
        const PartNode& node = index.tree.node(part.node);
        const uint32_t depth = index.tree.depthOf(part.node);
        return index.tree.partOf(node.firstSignature, depth).rank > lastMatch.rank;
    };
    log.erase(std::remove_if(log.begin() + newestEntry, log.end(), isAfter), log.end());
    continuedWithoutReset = false;
}

BodyMatch IndexScanner::virusFound(const SearchText& text, DigestFeed& feed) {
    const bool isKept = std::exchange(areStringsKept, false) && text.streamOffset == lastOffset;
    const bool isSearched = isKept && text.length == lastLength && hasOnlyStrings(text);
    if (!isSearched) prepareSearch(isKept);
    const BodyMatch match = isSearched ? firstString(text) : searchNew(text, feed);
    continuedWithoutReset = match.pattern != nullptr;
    return match;
}

/// @param text  one that only lost its beginning since it was searched to its end
/// @return whether it is known to have no complete signature
bool IndexScanner::hasOnlyStrings(const SearchText& text) {
    if (!needsOutlook) return true;
    if (strings.next() == nullptr) return false;  // the last search of these bytes
    if (outlook == nullptr) outlook = std::make_unique<PartOutlook>(index, text);
    return !outlook->mayComplete(text);
}

/// @param keepsStrings  the text has the end of the last one
void IndexScanner::prepareSearch(bool keepsStrings) {
    if (keepsStrings && !needsOutlook) {
        strings.dropFrom(decidedEnd, lastOffset);  // they are found again
    } else {
        strings.clear();
    }
    needsOutlook = false;
    outlook.reset();
}

BodyMatch IndexScanner::searchNew(const SearchText& text, DigestFeed& feed) {
    decidedEnd = text.length;
    lastOffset = text.streamOffset;
    lastLength = text.length;
    if (index.units.empty()) return {};
    if (index.tree.unitCount() == 0) return search(text, nullptr, feed);
    if (continuedWithoutReset) goOnAfterMatch();
    LiveParts& live = LiveParts::ofThread(index);
    live.adopt(index, key(), log);
    const bool cameAgain = std::exchange(offsetsCameAgain, true);  // if the search throws
    const BodyMatch match = search(text, &live, feed);
    offsetsCameAgain = cameAgain;
    live.release(key());
    return match;
}

// The first stretches are short: a host that resumes after each match starts a search for each of
// them. A unit is found by its anchor, which may be up to `reach` bytes after its start. So a
// completed signature is the first one as soon as the walk is that far past its start.
BodyMatch IndexScanner::search(const SearchText& text, LiveParts* live, DigestFeed& feed) {
    newestEntry = static_cast<std::ptrdiff_t>(log.size());
    const size_t kept = strings.all().size();
    CandidateFilter filter(index, text, live, strings.all());
    AnchorWalk walk(index, text, live, filter, feed);
    const uint32_t reach = index.anchors.reach;
    uint32_t stretch = kProbeBlock;
    uint32_t at = text.decidedTo;
    while (at < text.length) {
        const uint32_t stop = text.length - at > stretch ? at + stretch : text.length;
        walk.advance(at, stop);
        at = stop;
        stretch = std::min(2 * stretch, AnchorWalk::kLongestStretch);
        const uint32_t bound = at < text.length ? at - std::min(at, reach) : text.length;
        if (filter.completion().start < bound) break;
        if (!index.hasTrieUnits() && strings.hasBefore(bound, text.streamOffset)) break;
    }
    const Completion& found = filter.completion();
    addDetails(text, found);
    decidedEnd = filter.undecidedFrom();
    isWholeTextSearched = at == text.length;
    if (found.pattern == nullptr) {
        lastMatch = {text.offsetOf(text.length), kNoRank};
        strings.sortFrom(kept, text.streamOffset);
        return firstString(text);
    }
    lastMatch = {text.offsetOf(found.start), found.rank};
    return {found.pattern, true, found.start + found.pattern->length};
}

/// @return the first of the strings that were not reported yet
BodyMatch IndexScanner::firstString(const SearchText& text) const {
    const FoundUnit* const found = strings.next();
    if (found == nullptr) return {};
    const IndexUnit& unit = index.units[found->unit];
    return {unit.pattern, false, found->start - text.streamOffset + unit.length};
}

/// Records the parts that the search accepted, up to the match, as the loaded form does: each part
/// of each signature, by its place and in the order in which they are tried.
void IndexScanner::addDetails(const SearchText& text, const Completion& completion) {
    if (!ops.wantsDetail()) return;
    std::vector<std::tuple<uint32_t, uint32_t, const TriePattern*>> accepted;
    for (auto entry = log.begin() + newestEntry; entry != log.end(); ++entry) {
        const auto [number, start] = *entry;
        const PartNode& node = index.tree.node(number);
        const uint32_t depth = index.tree.depthOf(number);
        for (uint32_t k = node.firstSignature; k < node.endSignature; ++k) {
            const RankedPart& part = index.tree.partOf(k, depth);
            accepted.emplace_back(start, part.rank, part.pattern);
        }
    }
    if (completion.pattern != nullptr) {
        const uint32_t start = text.offsetOf(completion.start);
        std::erase_if(accepted, [&](const auto& part) {
            return std::tuple(std::get<0>(part), std::get<1>(part)) >
                   std::tuple(start, completion.rank);
        });
    }
    std::sort(accepted.begin(), accepted.end());
    for (const auto& [start, rank, pattern] : accepted) details.addPart(*pattern, start);
    if (completion.pattern != nullptr && completion.pattern->sigid == 0) {
        details.addPart(*completion.pattern, text.offsetOf(completion.start));
    }
}

void IndexScanner::exportProgress(TrieScanner& scanner) const {
    const PartTree& tree = index.tree;
    for (auto entry = log.begin(); entry != log.end(); ++entry) {
        const auto [number, start] = *entry;
        const bool mayBeAfter = continuedWithoutReset && entry - log.begin() >= newestEntry;
        const PartNode& node = tree.node(number);
        const uint32_t depth = tree.depthOf(number);
        for (uint32_t i = node.firstSignature; i < node.endSignature; ++i) {
            const auto& [pattern, rank] = tree.partOf(i, depth);
            const bool isAfter =
                mayBeAfter && std::pair(start, rank) > std::pair(lastMatch.start, lastMatch.rank);
            if (!isAfter) scanner.setProgress(pattern->sigid, {depth, start + pattern->length});
        }
    }
}

// A node can stand for its signatures again if either none of them has its part, or all have it and
// those that are no further agree in where it ended.
bool IndexScanner::importProgress(const TrieScanner& scanner) {
    const PartTree& tree = index.tree;
    PartLog taken;
    for (uint32_t number = 0; number < tree.nodeCount(); ++number) {
        const PartNode& node = tree.node(number);
        const uint32_t depth = tree.depthOf(number);
        uint32_t having = 0;
        std::optional<uint32_t> end;
        for (uint32_t i = node.firstSignature; i < node.endSignature; ++i) {
            const auto [partsMatched, partEnd] =
                scanner.progressOf(tree.partOf(i, depth).pattern->sigid);
            if (partsMatched >= depth) ++having;
            if (partsMatched != depth) continue;
            if (end.value_or(partEnd) != partEnd) return false;
            end = partEnd;
        }
        if (having == 0) continue;
        if (having != node.endSignature - node.firstSignature) return false;
        // Where all signatures are further, nobody asks where the part was.
        taken.push_back({number, end ? *end - index.units[node.unit].length : 0});
    }
    log = std::move(taken);
    forgetText();
    forgetLeast();
    offsetsCameAgain = true;
    ++epoch;
    continuedWithoutReset = false;
    decidedEnd = 0;  // the loaded form decides nothing for good
    return true;
}

}  // namespace STREAMENGINE_SPACE
