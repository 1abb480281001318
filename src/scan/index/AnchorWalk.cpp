#include "scan/index/AnchorWalk.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <algorithm>
#include <bit>

#include "scan/index/SearchCounts.h"
#include "scan/index/ShapeProbe.h"
#include "support/ByteOrder.h"

namespace STREAMENGINE_SPACE {
namespace {

// The last block of a text is probed as a whole, and a probe loads kReadLength bytes.
static_assert(SearchText::kSlack >= size_t{kProbeBlock} + GramFilter::kReadLength);
static_assert(SearchText::kSlack >= kWindow);

/// @return the lowest `count` bits
constexpr uint64_t lowest(uint32_t count) {
    return count >= 64 ? ~uint64_t{0} : (uint64_t{1} << count) - 1;
}

/// @param width  3 or 4
/// @param text   64 bytes and three more, all readable
/// @return a bit for each place at which the first `width` bytes of the gram are, the first place
///         lowest
uint64_t placesOf(uint32_t gram, uint32_t width, const uint8_t* text) {
    uint64_t places = 0;
#ifdef __SSE2__
    const auto byteOf = [gram](uint32_t i) {
        return _mm_set1_epi8(static_cast<char>(gram >> (8 * i) & 0xFF));
    };
    const __m128i first = byteOf(0), second = byteOf(1), third = byteOf(2), fourth = byteOf(3);
    const auto equalAt = [text](uint32_t at, const __m128i& byte) {
        return _mm_cmpeq_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(text + at)), byte);
    };
    for (uint32_t at = 0; at < kProbeBlock; at += 16) {
        __m128i equal = _mm_and_si128(_mm_and_si128(equalAt(at, first), equalAt(at + 1, second)),
                                      equalAt(at + 2, third));
        if (width == 4) equal = _mm_and_si128(equal, equalAt(at + 3, fourth));
        places |= uint64_t{static_cast<uint32_t>(_mm_movemask_epi8(equal))} << at;
    }
#else
    for (uint32_t at = 0; at < kProbeBlock; ++at) {
        const uint32_t other = (loadLittleEndian<uint32_t>(text + at) ^ gram) << (32 - 8 * width);
        places |= uint64_t{other == 0} << at;
    }
#endif
    return places;
}

}  // namespace

AnchorWalk::AnchorWalk(const SignatureIndex& searched, const SearchText& searchText,
                       LiveParts* parts, CandidateFilter& candidates, DigestFeed& digestFeed)
    : index(searched),
      anchors(searched.anchors),
      text(searchText),
      live(parts),
      filter(candidates),
      feed(digestFeed) {
    const auto baseOf = [](const RunTable& table) {
        return table.viewOf(table.isEmpty() ? nullptr : table.baseFilter().data());
    };
    filters = {anchors.longAnchors.view(),
               live != nullptr ? live->wideView() : baseOf(anchors.wideAnchors),
               live != nullptr ? live->narrowView() : baseOf(anchors.narrowAnchors),
               !anchors.longAnchors.isEmpty(),
               !anchors.wideAnchors.isEmpty(),
               !anchors.narrowAnchors.isEmpty()};
}

// Bytes after the text are probed as well; the marks that they make are cut off.
void AnchorWalk::advance(uint32_t at, uint32_t stop) {
    ZVK_COUNT(bytes, stop - at);
    stretchAt = at;
    stretchBlocks = (stop - at + kProbeBlock - 1) / kProbeBlock;
    probeAnchors(filters, index.vectorUnit, text.bytes + at, stretchBlocks, bits.data(), feed);
    if (!anchors.shapes.isEmpty()) {
        probeShapes(anchors.shapes, index.vectorUnit, text.bytes + at, stretchBlocks, bits.data());
    }
    for (uint32_t block = 0; block < stretchBlocks; ++block) {
        const uint32_t blockAt = at + block * kProbeBlock;
        if (text.length - blockAt < kProbeBlock + GramFilter::kReadLength) {
            cutAtEnd(bits[block], blockAt);
        }
    }
    if (filters.hasLong) {
        forEachLongMark([this](uint32_t, uint64_t hash) { anchors.longAnchors.prefetch(hash); });
    }
    prefetchRuns(0);
    if (stretchBlocks > 1) prefetchRuns(1);
    prefetchRunUnits(0);
    for (uint32_t block = 0; block < stretchBlocks; ++block) {
        if (block + 2 < stretchBlocks) prefetchRuns(block + 2);
        if (block + 1 < stretchBlocks) prefetchRunUnits(block + 1);
        followRuns(block, at + block * kProbeBlock);
    }
    if (filters.hasLong) followLong();
}

/// Drops the marks of grams that reach beyond the end of the text.
void AnchorWalk::cutAtEnd(ProbeMarks& marks, uint32_t at) const {
    const uint32_t rest = text.length - at;
    const auto fitting = [rest](uint32_t width) {
        return rest >= width ? lowest(rest - width + 1) : 0;
    };
    marks.longAnchors &= fitting(kLongGram);
    marks.wide &= fitting(anchors.wideAnchors.gramWidth());
    marks.narrow &= fitting(kNarrowGram);
    marks.pairs &= fitting(kPairGram);
}

/// Calls action(index in the text, hash) for each mark of the stretch.
template <class Action>
void AnchorWalk::forEachLongMark(Action action) const {
    for (uint32_t block = 0; block < stretchBlocks; ++block) {
        for (uint64_t marks = bits[block].longAnchors; marks != 0; marks &= marks - 1) {
            const uint32_t gramAt =
                stretchAt + block * kProbeBlock + static_cast<uint32_t>(std::countr_zero(marks));
            action(gramAt, anchors.longAnchors.hash(text.bytes + gramAt));
        }
    }
}

// Each mark leads to memory that is seldom in a cache, and from there on to more. So all marks go
// the first step, then all of them the next one.
void AnchorWalk::followLong() {
    const auto& table = anchors.longAnchors;
    forEachLongMark([&](uint32_t, uint64_t hash) {
        ZVK_COUNT(longMarks, 1);
        __builtin_prefetch(table.bucket(hash).data());
    });
    forEachLongMark([&](uint32_t, uint64_t hash) {
        for (const LongAnchorEntry entry : table.bucket(hash)) {
            __builtin_prefetch(&index.units[entry.unit()]);
        }
    });
    forEachLongMark([&](uint32_t gramAt, uint64_t hash) {
        for (const LongAnchorEntry entry : table.bucket(hash)) {
            ZVK_COUNT(longEntries, 1);
            const IndexUnit& unit = index.units[entry.unit()];
            filter.considerLong(entry.unit(), unit.anchor + entry.place(), gramAt);
        }
    });
}

/// Loads the lines of a block's marks, while the block before is followed.
void AnchorWalk::prefetchRuns(uint32_t block) const {
    const uint8_t* const from = text.bytes + stretchAt + size_t{block} * kProbeBlock;
    const auto load = [from](const RunTable& table, uint64_t marks) {
        for (; marks != 0; marks &= marks - 1) {
            const uint64_t hash = table.hash(from + std::countr_zero(marks));
            __builtin_prefetch(&table.line(table.lineOf(hash)));
        }
    };
    load(anchors.wideAnchors, bits[block].wide);
    load(anchors.narrowAnchors, bits[block].narrow);
}

/// Loads the run units to which these lines lead.
void AnchorWalk::prefetchRunUnits(uint32_t block) const {
    const uint8_t* const from = text.bytes + stretchAt + size_t{block} * kProbeBlock;
    const auto load = [&](const RunTable& table, uint64_t marks, const uint8_t* lanes) {
        for (; marks != 0; marks &= marks - 1) {
            const uint64_t hash = table.hash(from + std::countr_zero(marks));
            const uint32_t number = table.lineOf(hash);
            const RunTable::Line& line = table.line(number);
            const uint32_t fit = line.withPrint(table.printOf(hash)) & lanes[number];
            if (fit == 0) continue;
            const RunAnchorEntry entry(line.values[static_cast<uint32_t>(std::countr_zero(fit))]);
            __builtin_prefetch(&anchors.runUnits[entry.unit()]);
        }
    };
    load(anchors.wideAnchors, bits[block].wide, lanesOf(anchors.wideAnchors, RunAnchor::Wide));
    load(anchors.narrowAnchors, bits[block].narrow,
         lanesOf(anchors.narrowAnchors, RunAnchor::Narrow));
}

// The marks change while they are followed: a unit that is woken adds some ahead.
void AnchorWalk::followRuns(uint32_t block, uint32_t at) {
    ProbeMarks& marks = bits[block];
    while (marks.ofRuns() != 0) {
        const auto place = static_cast<uint32_t>(std::countr_zero(marks.ofRuns()));
        if (!filter.mayMatter(at + place)) return;
        const uint64_t bit = uint64_t{1} << place;
        const ProbeMarks here = marks;
        ZVK_COUNT(wideMarks, here.wide >> place & 1);
        ZVK_COUNT(narrowMarks, here.narrow >> place & 1);
        ZVK_COUNT(pairMarks, here.pairs >> place & 1);
        marks.wide &= ~bit;
        marks.narrow &= ~bit;
        marks.pairs &= ~bit;
        if ((here.wide & bit) != 0) findRuns(anchors.wideAnchors, RunAnchor::Wide, at + place);
        if ((here.narrow & bit) != 0) {
            findRuns(anchors.narrowAnchors, RunAnchor::Narrow, at + place);
        }
        if ((here.pairs & bit) != 0) findShapes(at + place);
        if (live == nullptr || live->wokenUnits().empty()) continue;
        for (const uint32_t unit : live->wokenUnits()) markAhead(unit, at + place + 1);
        live->forgetWoken();
    }
}

RunTable::Around AnchorWalk::aroundGram(uint32_t at, uint32_t width) const {
    constexpr uint32_t kFar = 4;  // bytes
    const uint8_t* const begin = text.bytes + at;
    const uint8_t* const end = begin + width;
    RunTable::Around around;
    around.after = {RunTable::oneOf(end), RunTable::twoOf(end), RunTable::fourOf(end)};
    around.knowsAfter = text.length - at - width >= kFar;
    // Before the text begins there is no unit to be found.
    if (at >= 1) around.before[0] = RunTable::oneOf(begin - 1);
    if (at >= 2) around.before[1] = RunTable::twoOf(begin - 2);
    if (at >= kFar) around.before[2] = RunTable::fourOf(begin - kFar);
    return around;
}

void AnchorWalk::findRuns(const RunTable& table, RunAnchor kind, uint32_t at) {
    const uint64_t hash = table.hash(text.bytes + at);
    const uint16_t print = table.printOf(hash);
    const uint8_t* const lanes = lanesOf(table, kind);
    bool wasIdle = false;
    uint32_t number = table.lineOf(hash);
    do {
        const RunTable::Line& line = table.line(number);
        uint32_t fit = line.withPrint(print) & lanes[number];
        if ((fit & (fit - 1)) != 0) {
            fit &= line.fitting(aroundGram(at, table.gramWidth()));
        } else if (fit != 0) {
            const auto lane = static_cast<uint32_t>(std::countr_zero(fit));
            const uint32_t width = table.gramWidth();
            if (!line.fits(lane, text.bytes, at, width, text.length - at - width)) fit = 0;
        }
        for (; fit != 0; fit &= fit - 1) {
            const auto lane = static_cast<uint32_t>(std::countr_zero(fit));
            const RunAnchorEntry entry(line.values[lane]);
            ZVK_COUNT(runEntries, 1);
            if (!filter.isAlive(entry.unit())) {
                ZVK_COUNT(idle, 1);
                live->ignoreLane(kind, number, lane);
                wasIdle = true;
            } else if (entry.place() <= at) {
                filter.considerRun(entry.unit(), at - entry.place());
            }
        }
        number = line.next;
    } while (number != 0);
    if (wasIdle) ignoreIfIdle(table, kind, hash);
}

const uint8_t* AnchorWalk::lanesOf(const RunTable& table, RunAnchor kind) const {
    return live != nullptr ? live->lanesOf(kind) : table.baseLanes().data();
}

/// Clears the filter's bit if nothing that is alive needs it.
void AnchorWalk::ignoreIfIdle(const RunTable& table, RunAnchor kind, uint64_t hash) {
    const uint16_t print = table.printOf(hash);
    const uint8_t* const lanes = lanesOf(table, kind);
    uint32_t number = table.lineOf(hash);
    do {
        const RunTable::Line& line = table.line(number);
        for (uint32_t left = lanes[number]; left != 0; left &= left - 1) {
            const auto lane = static_cast<uint32_t>(std::countr_zero(left));
            if (!table.sharesBit(line.prints[lane], print)) continue;
            if (filter.isAlive(RunAnchorEntry(line.values[lane]).unit())) return;
        }
        number = line.next;
    } while (number != 0);
    ZVK_COUNT(ignored, 1);
    live->ignore(kind, hash);
}

void AnchorWalk::findShapes(uint32_t at) {
    const uint16_t pair = ShapeTable::pairAt(text.bytes + at);
    if (!anchors.shapes.hasPair(pair)) return;
    for (const auto& group : anchors.shapes.groupsOf(pair)) {
        ZVK_COUNT(shapeLookups, 1);
        const uint32_t windowAt = at + group.windowAfter;
        if (windowAt >= text.length) continue;
        anchors.shapes.forEachAt(group, text.bytes + windowAt, [&](uint32_t runUnit) {
            ZVK_COUNT(runEntries, 1);
            if (filter.isAlive(runUnit)) filter.considerRun(runUnit, at);
        });
    }
}

/// Marks the places of a unit's grams from an index on, as far as the text was probed.
void AnchorWalk::markAhead(uint32_t runUnit, uint32_t from) {
    constexpr uint64_t kEverySecond = 0x5555555555555555;
    const RunUnit& unit = anchors.runUnits[runUnit];
    if (unit.table == RunAnchor::Wide) {
        for (uint32_t i = 0; i < kWideStride; ++i) {
            markGram(unit.gram() + i, from, &ProbeMarks::wide, kEverySecond);
        }
    } else if (unit.table == RunAnchor::Narrow) {
        markGram(unit.gram(), from, &ProbeMarks::narrow, ~uint64_t{0});
    }
}

void AnchorWalk::markGram(const uint8_t* gram, uint32_t from, uint64_t ProbeMarks::*marks,
                          uint64_t places) {
    const auto bytes = loadLittleEndian<uint32_t>(gram);
    const uint32_t width =
        (marks == &ProbeMarks::wide ? anchors.wideAnchors : anchors.narrowAnchors).gramWidth();
    uint32_t block = (from - stretchAt) / kProbeBlock;
    uint64_t ahead = ~lowest((from - stretchAt) % kProbeBlock);
    for (; block < stretchBlocks; ++block, ahead = ~uint64_t{0}) {
        const uint32_t at = stretchAt + block * kProbeBlock;
        uint64_t found = placesOf(bytes, width, text.bytes + at) & places & ahead;
        if (found == 0) continue;
        const uint32_t rest = text.length - at;
        if (rest < kProbeBlock + width) found &= rest >= width ? lowest(rest - width + 1) : 0;
        bits[block].*marks |= found;
    }
}

}  // namespace STREAMENGINE_SPACE
