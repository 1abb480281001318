#include "store/index/AnchorCompiler.h"

#include <algorithm>
#include <array>
#include <map>
#include <numeric>
#include <optional>
#include <span>

#include "store/index/AnchorChoice.h"
#include "store/index/PartTree.h"
#include "support/FlatMap.h"

namespace STREAMENGINE_SPACE {
namespace {

constexpr uint32_t kCheckedSpan = 256;  // symbols among which a unit's check byte is
constexpr uint32_t kNoRunUnit = 0xFFFFFFFF;
constexpr size_t kSmallSet = 32768;         // units
constexpr uint32_t kManyAlike = 128;        // grams of one hash with the same bytes around them
constexpr uint64_t kDearWithoutBmi = 8;     // others that share a gram, on average
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
        const uint32_t ofParts = tree.unitCount() * kWideStride;  // their values are the lowest
        tables.wideAnchors.build(wideGrams, ofParts);
        tables.narrowAnchors.build(narrowGrams, ofParts);
        tables.shapes.build(std::move(shapes));
        tables.runUnits.shrink_to_fit();
    }

  private:
    /// Where a run unit is going to be entered.
    struct Choice {
        uint32_t unit;
        uint32_t offset;  // symbol at which its anchor begins
        RunAnchor table;
        // None of a shape; their values are the places. The first gramCount of them count.
        std::array<RunTable::Gram, kWideStride> grams;
        uint32_t gramCount;

        std::span<const RunTable::Gram> allGrams() const { return {grams.data(), gramCount}; }
    };
    /// The best anchors of a unit with a row of literals.
    struct RowAnchors {
        uint32_t unit;
        std::optional<Anchor> wide;  // none if no row is long enough
        Anchor narrow;
    };

    bool isPart(uint32_t unit) const { return units[unit].kind() == UnitKind::Part; }

    // A unit whose best long anchor is still shared by many would make each probe that finds one of
    // them walk over all: it becomes a run unit, of which sixteen bytes are compared at once.
    /// @return the units that get another anchor
    std::vector<uint32_t> enterLongAnchors() {
        std::vector<uint32_t> others;
        // In a small set one table for all is probed faster than two, and is not much larger.
        if (units.size() <= kSmallSet) {
            others.resize(units.size());
            std::iota(others.begin(), others.end(), 0U);
            return others;
        }
        const GramCounts counts = countGrams(kLongGram);
        AnchorChooser chooser(counts);
        std::vector<GramTable<LongAnchorEntry>::Gram> grams;
        grams.reserve((units.size() - tree.unitCount()) * kLongStride);
        forEachUnit([&](uint32_t unit) {
            std::optional<Anchor> anchor;
            if (!isPart(unit)) {
                chooser.read(literals);
                anchor = chooser.choose(kLongStride);
            }
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
        std::vector<uint32_t> withoutRow;
        const std::vector<RowAnchors> anchors = chooseRows(others, withoutRow);
        const bool isDense = paysToProbeEach(anchors);
        std::vector<Choice> rows;
        rows.reserve(anchors.size());
        for (const RowAnchors& each : anchors) {
            literals.assign(units[each.unit]);
            const bool isWide = each.wide && !isDense;
            rows.push_back(rowAt(each.unit, isWide ? each.wide->offset : each.narrow.offset,
                                 isWide ? RunAnchor::Wide : RunAnchor::Narrow));
        }
        enterShapes(enterRows(rows, withoutRow));
    }

    /// @param withoutRow  the units that have no row of literals are added to it
    std::vector<RowAnchors> chooseRows(const std::vector<uint32_t>& others,
                                       std::vector<uint32_t>& withoutRow) {
        const GramCounts narrowCounts = countGrams(kNarrowGram);
        const uint32_t wideGram = tables.wideAnchors.gramWidth();
        std::optional<GramCounts> ownCounts;
        if (wideGram != kNarrowGram) ownCounts = countGrams(wideGram);
        AnchorChooser chooser(narrowCounts);
        AnchorChooser ownChooser(ownCounts ? *ownCounts : narrowCounts);
        AnchorChooser& wideChooser = ownCounts ? ownChooser : chooser;
        std::vector<RowAnchors> anchors;
        anchors.reserve(others.size());
        for (const uint32_t unit : others) {
            literals.assign(units[unit]);
            chooser.read(literals);
            if (ownCounts) ownChooser.read(literals);
            if (const auto narrow = chooser.choose(1)) {
                anchors.push_back({unit, wideChooser.choose(kWideStride), *narrow});
            } else {
                withoutRow.push_back(unit);
            }
        }
        return anchors;
    }

    // One probe at each position instead of every second finds one gram of a unit instead of two.
    // Where a unit has one rare byte, as "<trclass=4", only one of its grams may have it, and the
    // other one is found all over the text. The set is the sample of the text.
    bool paysToProbeEach(const std::vector<RowAnchors>& anchors) const {
        uint64_t wideCost = 0, narrowCost = 0;
        for (const RowAnchors& each : anchors) {
            if (!each.wide) continue;
            wideCost += each.wide->crowd;
            narrowCost += each.narrow.crowd;
        }
        return wideCost > (isVector ? 1 : kDearWithoutBmi) * anchors.size() &&
               wideCost > 2 * narrowCost;
    }

    /// Enters units with a row of literals.
    /// @return the choices of those that are better found by their shape, and of withoutRow
    std::vector<Choice> enterRows(const std::vector<Choice>& rows,
                                  const std::vector<uint32_t>& withoutRow) {
        Crowds crowds;      // by gram: how many rows have it
        Crowds likeCrowds;  // by gram and the bytes around it
        for (const Choice& choice : rows) {
            for (const RunTable::Gram& gram : choice.allGrams()) {
                ++crowds.findOrInsert(keyOf(gram.hash));
                ++likeCrowds.findOrInsert(keyAround(gram));
            }
        }
        const auto isCrowded = [&](const RunTable::Gram& gram) {
            return *crowds.find(keyOf(gram.hash)) > kManyInLine ||
                   *likeCrowds.find(keyAround(gram)) > kManyAlike;
        };
        const bool areFewNarrow = std::count_if(rows.begin(), rows.end(), isNarrow) <= kFewNarrow;
        std::vector<Choice> byShape;
        std::vector<uint32_t> byPair = withoutRow;
        for (const Choice& choice : rows) {
            if (isVector && isNarrow(choice) && areFewNarrow) {
                byShape.push_back({choice.unit, choice.offset, RunAnchor::Shape, {}, 0});
            } else if (std::ranges::any_of(choice.allGrams(), isCrowded)) {
                byPair.push_back(choice.unit);
            } else {
                enterRow(choice);
            }
        }
        addPairs(byPair, byShape);
        return byShape;
    }

    /// Adds the choices of units that are found by their rarest pair. Two literal bytes lead every
    /// part.
    void addPairs(const std::vector<uint32_t>& byPair, std::vector<Choice>& byShape) {
        if (byPair.empty()) return;
        const GramCounts counts = countGrams(kPairGram);
        AnchorChooser chooser(counts);
        for (const uint32_t unit : byPair) {
            literals.assign(units[unit]);
            chooser.read(literals);
            byShape.push_back({unit, chooser.choose(1)->offset, RunAnchor::Shape, {}, 0});
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
    static bool isNarrow(const Choice& choice) { return choice.table == RunAnchor::Narrow; }

    using Crowds = QLT_SPACE::FlatMap<uint32_t>;
    // Grams that share a key look more common than they are, which does no harm.
    static uint32_t keyOf(uint64_t hash) { return static_cast<uint32_t>(hash >> 33); }
    static uint32_t keyAround(const RunTable::Gram& gram) {
        const uint32_t around = uint32_t{gram.check} << 3 | static_cast<uint32_t>(gram.side);
        return keyOf(gram.hash) ^ around * 0x2C1B3C6DU >> 1;
    }

    /// @return the choice of a row of the unit being worked on
    Choice rowAt(uint32_t unit, uint32_t offset, RunAnchor kind) const {
        const bool isWide = kind == RunAnchor::Wide;
        const RunTable& table = isWide ? tables.wideAnchors : tables.narrowAnchors;
        const auto rows = literals.all();
        const auto row = std::find_if(rows.begin(), rows.end(),
                                      [offset](const auto& each) { return each.end > offset; });
        Choice choice = {unit, offset, kind, {}, isWide ? kWideStride : 1};
        for (uint32_t i = 0; i < choice.gramCount; ++i) {
            const uint32_t begin = offset + i;
            const uint64_t hash = table.hash(literals.at(begin));
            const auto [side, check] = checkOf(*row, begin, begin + table.gramWidth());
            choice.grams[i] = {hash, i, side, check, countsAtBegin(unit)};
        }
        return choice;
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
        literals.assign(units[choice.unit]);
        const uint32_t number = addRunUnit(choice.unit, choice.offset, choice.table);
        auto& grams = choice.table == RunAnchor::Wide ? wideGrams : narrowGrams;
        // The last place first, as above.
        for (uint32_t i = choice.gramCount; i-- > 0;) {
            grams.push_back(choice.grams[i]);
            grams.back().value = RunAnchorEntry(number, i).value;
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
        entry.group.windowAfter = windowAt - choice.offset;
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
        return use.countsFirst();
    }

    /// @return how often each gram of a width is in the set
    GramCounts countGrams(uint32_t width) {
        GramCounts counts(width, width == kPairGram ? ShapeTable::kPairs : symbolCount());
        forEachUnit([&](uint32_t /*unit*/) { counts.add(literals); });
        return counts;
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
    AnchorTables& tables;
    LiteralRows literals;  // of the unit being worked on
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
