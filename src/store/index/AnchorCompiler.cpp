#include "store/index/AnchorCompiler.h"

#include <algorithm>
#include <cstring>

#include "store/index/AnchorChoice.h"
#include "store/load/BlockHash.h"
#include "support/ByteOrder.h"

namespace STREAMENGINE_SPACE {
namespace {

using EntryGrams = std::vector<GramTable<AnchorEntry>::Gram>;

// A long gram that more units than these share is entered under a crowded anchor, whose entries
// hold some bytes more.
constexpr uint32_t kCrowd = 64;

void readLiterals(const IndexUnit& unit, LiteralRows& literals) {
    if (unit.kind == UnitKind::PlainString) {
        literals.assign(std::span<const uint8_t>(unit.bm().sig));
    } else if (unit.trie().isWildcard) {
        literals.assign(std::span<const Symbol>(unit.trie().symbols));
    } else {
        literals.assign(std::span<const uint8_t>(unit.trie().sig));
    }
}

class AnchorCompiler {
  public:
    AnchorCompiler(std::vector<IndexUnit>& listed, AnchorTables& made)
        : units(listed), tables(made) {}

    void compile() {
        const std::vector<uint32_t> others = enterLongAnchors();
        if (others.empty()) return;
        setShortWidth(others);
        enterOthers(others);
    }

  private:
    // A unit whose best long anchor is still shared by many would make each probe that finds one of
    // them walk over all: it gets another anchor, where the entries hold bytes to compare.
    /// @return the units that get another anchor
    std::vector<uint32_t> enterLongAnchors() {
        GramCounts counts(kLongGram, symbolCount());
        forEachUnit([&](uint32_t /*unit*/) { counts.add(literals); });
        std::vector<GramTable<LongAnchorEntry>::Gram> grams;
        std::vector<uint32_t> others;
        grams.reserve(units.size() * kLongStride);
        forEachUnit([&](uint32_t unit) {
            const auto anchor = chooseAnchor(literals, kLongStride, counts);
            if (!anchor || anchor->crowd > kCrowd) {
                others.push_back(unit);
                return;
            }
            setAnchor(unit, anchor->offset, kLongStride);
            // The last place first: one probe then finds a unit's starts from left to right.
            for (uint32_t i = kLongStride; i-- > 0;) {
                const uint64_t hash = tables.longAnchors.hash(literals.at(anchor->offset + i));
                grams.push_back({hash, {unit, i}});
            }
        });
        tables.longAnchors.build(grams);
        return others;
    }

    /// The shortest row of the units decides how wide the grams of the filter may be.
    void setShortWidth(const std::vector<uint32_t>& others) {
        uint32_t shortest = kCrowdedGram;
        for (const uint32_t unit : others) {
            readLiterals(units[unit], literals);
            const uint32_t length = literals.longest();
            if (length >= kLeastShortGram) shortest = std::min(shortest, length);
        }
        tables.shortAnchorFilter = GramFilter(shortest - kShortStride + 1);
        tables.shortAnchors = GramTable<AnchorEntry>(shortest);
    }

    void enterOthers(const std::vector<uint32_t>& others) {
        GramCounts shortCounts(tables.shortAnchors.gramWidth(), symbolCount());
        GramCounts crowdedCounts(kCrowdedGram, symbolCount());
        GramCounts pairCounts(kPairGram, kBlockHashes);
        forEachUnit([&](uint32_t /*unit*/) {
            shortCounts.add(literals);
            crowdedCounts.add(literals);
            pairCounts.add(literals);
        });
        EntryGrams shortGrams;
        EntryGrams crowdedGrams;
        EntryGrams pairGrams;
        for (const uint32_t unit : others) {
            readLiterals(units[unit], literals);
            if (const auto crowded = chooseAnchor(literals, 1, crowdedCounts)) {
                enter(unit, crowded->offset, tables.crowdedAnchors, crowdedGrams);
                enterIntoFilter(crowded->offset);
            } else if (const auto inShort = chooseAnchor(literals, 1, shortCounts)) {
                enter(unit, inShort->offset, tables.shortAnchors, shortGrams);
                enterIntoFilter(inShort->offset);
            } else {
                // Two literal bytes lead every part.
                const auto pair = chooseAnchor(literals, 1, pairCounts);
                enter(unit, pair->offset, tables.pairAnchors, pairGrams);
            }
        }
        tables.shortAnchorFilter.fill(filterHashes);
        tables.shortAnchors.build(shortGrams);
        tables.crowdedAnchors.build(crowdedGrams);
        tables.pairAnchors.build(pairGrams);
    }

    /// Calls action(unit) for each unit with its literals read.
    template <class Action>
    void forEachUnit(Action action) {
        for (uint32_t unit = 0; unit < units.size(); ++unit) {
            readLiterals(units[unit], literals);
            action(unit);
        }
    }

    size_t symbolCount() const {
        size_t sum = 0;
        for (const IndexUnit& unit : units) sum += std::min(unit.length, kAnchorSpan);
        return sum;
    }

    void setAnchor(uint32_t number, uint32_t offset, uint32_t gramCount) {
        IndexUnit& unit = units[number];
        unit.anchor = static_cast<uint8_t>(offset);
        const uint32_t last = literals.all().back().end - 1;
        unit.checkOffset = static_cast<uint8_t>(last);
        unit.checkByte = *literals.at(last);
        tables.reach = std::max(tables.reach, offset + gramCount - 1);
    }

    /// Appends the gram of a unit, whose literals have been read, to the grams of a table.
    void enter(uint32_t unit, uint32_t offset, const GramTable<AnchorEntry>& table,
               EntryGrams& grams) {
        setAnchor(unit, offset, kShortStride);
        const uint32_t tailOffset = offset + table.gramWidth();
        const uint32_t following = literals.rowAround(offset).end - tailOffset;
        AnchorEntry entry = {};
        entry.unit = unit & kMostUnits;
        entry.kindBits = static_cast<uint32_t>(units[unit].kind) & 7;
        entry.tailLength = std::min<uint32_t>(following, sizeof entry.tail) & 7;
        std::memcpy(&entry.tail, literals.at(tailOffset), entry.tailLength);
        entry.tail = fromLittleEndian(entry.tail);
        grams.push_back({table.hash(literals.at(offset)), entry});
    }

    void enterIntoFilter(uint32_t offset) {
        for (uint32_t i = 0; i < kShortStride; ++i) {
            filterHashes.push_back(tables.shortAnchorFilter.hash(literals.at(offset + i)));
        }
    }

    std::vector<IndexUnit>& units;
    AnchorTables& tables;
    LiteralRows literals;  // of the unit being worked on
    std::vector<uint64_t> filterHashes;
};

}  // namespace

void compileAnchors(std::vector<IndexUnit>& units, AnchorTables& tables) {
    AnchorCompiler(units, tables).compile();
}

}  // namespace STREAMENGINE_SPACE
