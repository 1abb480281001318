#include "scan/index/IndexScanner.h"

#include <algorithm>

#include "scan/index/AnchorWalk.h"
#include "scan/index/CandidateFilter.h"
#include "scan/index/PartJudge.h"
#include "support/EngineOption.h"

namespace STREAMENGINE_SPACE {

void IndexScanner::reset() {
    progress.clear();
    states.clear();
    continuedWithoutReset = false;
}

BodyMatch IndexScanner::virusFound(const SearchText& text, DigestFeed& feed) {
    decidedEnd = text.length;
    if (index.units.empty()) return {};
    if (continuedWithoutReset || text.offsetsWrap()) states.reopen();
    continuedWithoutReset = true;  // also if the search throws
    const BodyMatch match = search(text, feed);
    continuedWithoutReset = match.pattern != nullptr;
    return match;
}

// The walk goes ahead in stretches; after each, the units that begin before everything that can
// still be found are judged. The first stretches are short: a host that resumes after each match
// starts a search for each of them.
//
// Offsets have 32 bits. In a text in which they wrap, a part may end before it begins and let in
// what was refused before: there every signature is tried on its own, and nothing stays decided.
BodyMatch IndexScanner::search(const SearchText& text, DigestFeed& feed) {
    const bool wraps = text.offsetsWrap();
    const SearchContext context = {index,  text,  progress,
                                   states, wraps, !wraps && !ops.wantsDetail()};
    FoundUnits found;
    CandidateFilter filter(context, found);
    AnchorWalk walk(index, text, filter, feed);
    PartJudge judge(context, details);
    const uint32_t reach = index.anchors.reach;
    uint32_t stretch = kProbeBlock;
    for (uint32_t at = text.decidedTo; at < text.length;) {
        const uint32_t stop = text.length - at > stretch ? at + stretch : text.length;
        walk.advance(at, stop);
        at = stop;
        stretch = std::min(2 * stretch, AnchorWalk::kLongestStretch);
        const uint32_t bound = at < text.length ? at - std::min(at, reach) : text.length;
        if (found.judgeBefore(bound, [&](auto units) { return judge.judge(units); })) {
            return judge.match();
        }
        if (filter.stringStart() < bound && !index.hasTrieUnits()) break;
    }
    decidedEnd = wraps ? 0 : filter.undecidedFrom();
    return filter.stringMatch();
}

}  // namespace STREAMENGINE_SPACE
