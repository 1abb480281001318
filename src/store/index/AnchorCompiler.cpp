#include "store/index/AnchorCompiler.h"

#include <algorithm>
#include <map>
#include <optional>
#include <unordered_map>

#include "store/index/AnchorChoice.h"
#include "store/index/PartTree.h"

namespace STREAMENGINE_SPACE {
namespace {

constexpr uint32_t kCheckedSpan = 256;  // symbols among which a unit's check byte is
constexpr uint32_t kNoRunUnit = 0xFFFFFFFF;
constexpr size_t kSmallSet = 32768;         // units
constexpr uint32_t kManyAlike = 128;        // grams of one hash with the same bytes around them
constexpr uint64_t kDearGrams = 1;          // others that share a gram, on average
constexpr uint32_t kManyInLine = 512;       // grams of one hash
constexpr std::ptrdiff_t kFewNarrow = 128;  // units

Symbol symbolAt(const IndexUnit& unit, uint32_t i) {
    return unit.kind() == UnitKind::PlainString ? unit.bm().sig[i] : unit.trie().symbolAt(i);
}

/// Stores the window of a unit that begins at a symbol.
void setWindow(RunUnit& made, const IndexUnit& unit, uint32_t windowAt) {
    made.windowAt = static_cast<uint16_t>(windowAt);
    made.open = 0xFFFF;
    made.isWhole = true;
    for (uint32_t i = 0; i < unit.length; ++i) {
        const Symbol symbol = symbolAt(unit, i);
        const bool isInWindow = i >= windowAt && i - windowAt < kWindow;
        if (symbol == kAnySymbol) continue;
        if (isWildcardSymbol(symbol) || !isInWindow) {
            made.isWhole = false;
            continue;
        }
        made.bytes[i - windowAt] = static_cast<uint8_t>(symbol);
        made.open = static_cast<uint16_t>(made.open & ~(1U << (i - windowAt)));
    }
}

class AnchorCompiler {
  public:
    AnchorCompiler(std::vector<IndexUnit>& listed, const PartTree& parts, bool hasShuffles,
                   AnchorTables& made)
        : units(listed), tree(parts), isVector(hasShuffles), tables(made) {}

    void compile() {
        const std::vector<uint32_t> others = enterLongAnchors();
        if (others.empty()) return;
        enterRunAnchors(others);
        tables.wideAnchors.build(wideGrams);
        tables.narrowAnchors.build(narrowGrams);
        tables.shapes.build(std::move(shapes));
        tables.runUnits.shrink_to_fit();
    }

  private:
    /// Where a run unit is going to be entered.
    struct Choice {
        uint32_t unit;
        uint32_t offset;  // symbol at which its anchor begins
        RunAnchor table;
        std::vector<RunTable::Gram> grams;  // none of a shape; their values are the places
    };

    bool isPart(uint32_t unit) const { return units[unit].kind() == UnitKind::Part; }

    // A unit whose best long anchor is still shared by many would make each probe that finds one of
    // them walk over all: it becomes a run unit, of which sixteen bytes are compared at once.
    /// @return the units that get another anchor
    std::vector<uint32_t> enterLongAnchors() {
        GramCounts counts(kLongGram, symbolCount());
        forEachUnit([&](uint32_t /*unit*/) { counts.add(literals); });
        std::vector<GramTable<LongAnchorEntry>::Gram> grams;
        std::vector<uint32_t> others;
        grams.reserve((units.size() - tree.unitCount()) * kLongStride);
        forEachUnit([&](uint32_t unit) {
            const auto anchor = isPart(unit) || isSmall
                                    ? std::nullopt
                                    : chooseAnchor(literals, kLongStride, counts);
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

    void enterRunAnchors(const std::vector<uint32_t>& others) {
        setWideGram(others);
        countGrams();
        isDense = paysToProbeEach(others);
        std::vector<Choice> rows;
        std::vector<Choice> withoutRow;
        for (const uint32_t unit : others) {
            literals.assign(units[unit]);
            if (literals.longest() < kNarrowGram) {
                withoutRow.push_back(pairOf(unit));
            } else {
                rows.push_back(rowOf(unit));
            }
        }
        enterRows(rows, withoutRow);
        enterShapes(withoutRow);
    }

    void countGrams() {
        wideCounts.emplace(tables.wideAnchors.gramWidth(), symbolCount());
        narrowCounts.emplace(kNarrowGram, symbolCount());
        pairCounts.emplace(kPairGram, ShapeTable::kPairs);
        forEachUnit([&](uint32_t /*unit*/) {
            wideCounts->add(literals);
            narrowCounts->add(literals);
            pairCounts->add(literals);
        });
    }

    // One probe at each position instead of every second finds one gram of a unit instead of two.
    // Where a unit has one rare byte, as "<trclass=4", only one of its grams may have it, and the
    // other one is found all over the text. The set is the sample of the text.
    bool paysToProbeEach(const std::vector<uint32_t>& others) {
        uint64_t wideCost = 0, narrowCost = 0;
        for (const uint32_t unit : others) {
            literals.assign(units[unit]);
            if (literals.longest() < shortestWideRow()) continue;
            wideCost += chooseAnchor(literals, kWideStride, *wideCounts)->crowd;
            narrowCost += chooseAnchor(literals, 1, *narrowCounts)->crowd;
        }
        return wideCost > kDearGrams * others.size() && wideCost > 2 * narrowCost;
    }

    /// @return the choice of the unit being worked on, of its rarest pair
    Choice pairOf(uint32_t unit) const {
        // Two literal bytes lead every part.
        return {unit, chooseAnchor(literals, 1, *pairCounts)->offset, RunAnchor::Shape, {}};
    }
    /// @return likewise of its rarest grams in a row
    Choice rowOf(uint32_t unit) const {
        const bool isWide = !isDense && literals.longest() >= shortestWideRow();
        const auto row = isWide ? chooseAnchor(literals, kWideStride, *wideCounts)
                                : chooseAnchor(literals, 1, *narrowCounts);
        const auto table = isWide ? RunAnchor::Wide : RunAnchor::Narrow;
        return {unit, row->offset, table, gramsAt(unit, row->offset, table)};
    }

    /// Enters units with a row of literals, and adds those that are better found by their shape.
    void enterRows(const std::vector<Choice>& rows, std::vector<Choice>& byShape) {
        std::unordered_map<uint64_t, uint32_t> crowds;      // by gram: how many rows have it
        std::unordered_map<uint64_t, uint32_t> likeCrowds;  // by gram and the bytes around it
        for (const Choice& choice : rows) {
            for (const RunTable::Gram& gram : choice.grams) {
                ++crowds[gram.hash];
                ++likeCrowds[keyOf(gram)];
            }
        }
        const bool areFewNarrow = std::count_if(rows.begin(), rows.end(), isNarrow) <= kFewNarrow;
        for (const Choice& choice : rows) {
            literals.assign(units[choice.unit]);
            const bool isCrowded =
                std::any_of(choice.grams.begin(), choice.grams.end(), [&](const auto& gram) {
                    return crowds[gram.hash] > kManyInLine || likeCrowds[keyOf(gram)] > kManyAlike;
                });
            if (isNarrow(choice) && areFewNarrow) {
                byShape.push_back({choice.unit, choice.offset, RunAnchor::Shape, {}});
            } else if (isCrowded) {
                byShape.push_back(pairOf(choice.unit));
            } else {
                enterRow(choice);
            }
        }
    }

    /// Without shuffles a narrow anchor costs a probe at each position. Then narrower grams let the
    /// rows of four take part in the wide anchors.
    void setWideGram(const std::vector<uint32_t>& others) {
        const auto hasRowOfFour = [this](uint32_t unit) {
            literals.assign(units[unit]);
            return literals.longest() == kNarrowGram;
        };
        if (!isVector && std::any_of(others.begin(), others.end(), hasRowOfFour)) {
            tables.wideAnchors = RunTable(kWideGram - 1);
        }
    }
    uint32_t shortestWideRow() const { return tables.wideAnchors.gramWidth() + kWideStride - 1; }
    static bool isNarrow(const Choice& choice) { return choice.table == RunAnchor::Narrow; }

    static uint64_t keyOf(const RunTable::Gram& gram) {
        return gram.hash ^ (uint64_t{gram.check} << 3 | static_cast<uint64_t>(gram.side));
    }

    /// @return an anchor's grams, the first one first; their values are the places
    std::vector<RunTable::Gram> gramsAt(uint32_t unit, uint32_t offset, RunAnchor kind) const {
        const bool isWide = kind == RunAnchor::Wide;
        const RunTable& table = isWide ? tables.wideAnchors : tables.narrowAnchors;
        const auto rows = literals.all();
        const auto row = std::find_if(rows.begin(), rows.end(),
                                      [offset](const auto& each) { return each.end > offset; });
        std::vector<RunTable::Gram> grams;
        for (uint32_t i = 0; i < (isWide ? kWideStride : 1); ++i) {
            const uint32_t begin = offset + i;
            const uint32_t end = begin + table.gramWidth();
            const auto [side, check] = checkOf(*row, begin, end);
            grams.push_back({table.hash(literals.at(begin)), i, side, check, countsAtBegin(unit)});
        }
        return grams;
    }

    /// @return of the literals around a gram those that an entry knows: the more the better
    std::pair<RunTable::Side, uint16_t> checkOf(const LiteralRows::Row& row, uint32_t begin,
                                                uint32_t end) const {
        using Side = RunTable::Side;
        const uint32_t after = row.end - end;
        const uint32_t before = begin - row.begin;
        if (after >= 4) return {Side::FourAfter, RunTable::fourOf(literals.at(end))};
        if (before >= 4) return {Side::FourBefore, RunTable::fourOf(literals.at(begin - 4))};
        if (after >= 2) return {Side::TwoAfter, RunTable::twoOf(literals.at(end))};
        if (before >= 2) return {Side::TwoBefore, RunTable::twoOf(literals.at(begin - 2))};
        if (after >= 1) return {Side::OneAfter, RunTable::oneOf(literals.at(end))};
        if (before >= 1) return {Side::OneBefore, RunTable::oneOf(literals.at(begin - 1))};
        return {Side::None, uint16_t{0}};
    }

    void enterRow(const Choice& choice) {
        const uint32_t number = addRunUnit(choice.unit, choice.offset, choice.table);
        auto& grams = choice.table == RunAnchor::Wide ? wideGrams : narrowGrams;
        // The last place first, as above.
        for (auto gram = choice.grams.rbegin(); gram != choice.grams.rend(); ++gram) {
            grams.push_back(*gram);
            grams.back().value = RunAnchorEntry(number, gram->value).value;
        }
    }

    /// Adds a unit with a row of literals as its anchor, in the middle of its window.
    uint32_t addRunUnit(uint32_t unit, uint32_t offset, RunAnchor table) {
        constexpr uint32_t kBefore = (kWindow - kWideGram) / 2;
        setAnchor(unit, offset, kWideStride);
        const uint32_t length = units[unit].length;
        const uint32_t last = length > kWindow ? length - kWindow : 0;
        return storeRunUnit(unit, table, std::min(offset - std::min(offset, kBefore), last));
    }

    uint32_t storeRunUnit(uint32_t unit, RunAnchor table, uint32_t windowAt) {
        const IndexUnit& source = units[unit];
        RunUnit made;
        setWindow(made, source, windowAt);
        made.anchor = source.anchor;
        made.table = table;
        made.length = source.length;
        made.unit = unit;
        // A part has the number of its unit.
        auto& all = tables.runUnits;
        if (all.size() < tree.unitCount()) all.resize(tree.unitCount());
        if (isPart(unit)) {
            all[unit] = made;
            return unit;
        }
        all.push_back(made);
        return static_cast<uint32_t>(all.size() - 1);
    }

    // The window begins with the pair. Where too many units agree in it, the end of the unit is
    // tried: "aa??b??b??b??b??b??b??x" and "aa??b??b??b??b??b??b??y" differ there.
    void enterShapes(const std::vector<Choice>& withoutRow) {
        std::map<std::pair<ShapeTable::Window, ShapeTable::Window>, uint32_t> crowds;
        const auto crowdOf = [&crowds](const ShapeTable::Entry& entry) -> uint32_t& {
            return crowds[{entry.group.mask, entry.bytes}];
        };
        for (const Choice& choice : withoutRow) ++crowdOf(shapeOf(choice, choice.offset));
        for (const Choice& choice : withoutRow) {
            uint32_t windowAt = choice.offset;
            auto entry = shapeOf(choice, windowAt);
            const uint32_t end = std::min(units[choice.unit].length, kFurthestAnchor);
            if (crowdOf(entry) > kCrowd && end > windowAt + kWindow) {
                windowAt = end - kWindow;
                entry = shapeOf(choice, windowAt);
            }
            // The search has to see the whole window.
            setAnchor(choice.unit, choice.offset, 1);
            tables.reach = std::max(tables.reach, std::min(end, windowAt + kWindow));
            entry.runUnit = storeRunUnit(choice.unit, RunAnchor::Shape, windowAt);
            shapes.push_back(entry);
        }
    }

    /// @return an entry for a unit, which becomes the one being worked on, but for its run unit
    ShapeTable::Entry shapeOf(const Choice& choice, uint32_t windowAt) {
        literals.assign(units[choice.unit]);
        RunUnit window;
        setWindow(window, units[choice.unit], windowAt);
        ShapeTable::Entry entry;
        entry.group.pair = ShapeTable::pairAt(literals.at(choice.offset));
        entry.group.windowAfter = static_cast<int32_t>(windowAt - choice.offset);
        entry.bytes = window.bytes;
        entry.anchor = classBytesAt(choice.offset);
        entry.runUnit = kNoRunUnit;
        for (uint32_t i = 0; i < kWindow; ++i) {
            entry.group.mask[i] = (window.open >> i & 1) != 0 ? 0 : 0xFF;
        }
        return entry;
    }

    /// @return the bytes from a symbol on, as far as its row goes
    ByteClasses::Bytes classBytesAt(uint32_t symbol) const {
        const auto rows = literals.all();
        const auto row = std::find_if(rows.begin(), rows.end(),
                                      [symbol](const auto& each) { return each.end > symbol; });
        ByteClasses::Bytes bytes;
        for (uint32_t i = 0; i < ByteClasses::kWidth && symbol + i < row->end; ++i) {
            bytes[i] = *literals.at(symbol + i);
        }
        return bytes;
    }

    /// @return whether the unit matters in a stream of which nothing was scanned yet
    bool countsAtBegin(uint32_t unit) const {
        if (!isPart(unit)) return true;
        const PartTree::Use& use = tree.useOf(unit);
        return use.root != kNoNode || use.isRare();
    }

    /// Calls action(unit) for each unit with its literals read.
    template <class Action>
    void forEachUnit(Action action) {
        for (uint32_t unit = 0; unit < units.size(); ++unit) {
            literals.assign(units[unit]);
            action(unit);
        }
    }

    size_t symbolCount() const {
        size_t sum = 0;
        for (const IndexUnit& unit : units) sum += std::min(unit.length, kFurthestAnchor);
        return sum;
    }

    void setAnchor(uint32_t number, uint32_t offset, uint32_t gramCount) {
        IndexUnit& unit = units[number];
        unit.anchor = offset & kFurthestAnchor;
        const auto rows = literals.all();
        const auto row = std::find_if(rows.rbegin(), rows.rend(),
                                      [](const auto& each) { return each.begin < kCheckedSpan; });
        const uint32_t last = std::min(row->end, kCheckedSpan) - 1;
        unit.checkOffset = last & 0xFF;
        unit.checkByte = *literals.at(last);
        tables.reach = std::max(tables.reach, offset + gramCount - 1);
    }

    std::vector<IndexUnit>& units;
    const PartTree& tree;
    const bool isVector;
    // In a small set one table for all is probed faster than two, and not much larger.
    const bool isSmall = units.size() <= kSmallSet;
    AnchorTables& tables;
    LiteralRows literals;  // of the unit being worked on
    // Of the whole set, by the width of their grams.
    std::optional<GramCounts> wideCounts, narrowCounts, pairCounts;
    bool isDense = false;  // each position is probed, and no anchors are wide
    std::vector<RunTable::Gram> wideGrams;
    std::vector<RunTable::Gram> narrowGrams;
    std::vector<ShapeTable::Entry> shapes;
};

}  // namespace

void compileAnchors(std::vector<IndexUnit>& units, const PartTree& tree, bool hasShuffles,
                    AnchorTables& tables) {
    AnchorCompiler(units, tree, hasShuffles, tables).compile();
}

}  // namespace STREAMENGINE_SPACE
