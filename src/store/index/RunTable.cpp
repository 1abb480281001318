#include "store/index/RunTable.h"

#include <algorithm>
#include <bit>
#include <new>

namespace STREAMENGINE_SPACE {
namespace {

// While the filter fits into a cache of the second level, it accepts few wrong positions.
constexpr size_t kBitsPerGram = 64;
constexpr size_t kLeastBitsPerGram = 16;
constexpr size_t kCachedBits = size_t{1} << 20;
constexpr size_t kLeastLines = 16;
constexpr size_t kMostGramsOnAverage = 5;  // of a line
constexpr int kMostPrintBitsInFilter = 15;
constexpr size_t kMostGrams = size_t{1} << 23;  // so that the number of a line has 24 bits

int shiftFor(size_t slots) {
    return 64 - std::countr_zero(slots);
}

}  // namespace

void RunTable::build(const std::vector<Gram>& entries, uint32_t placed) {
    if (entries.empty()) return;
    if (entries.size() > kMostGrams) throw std::bad_alloc();
    const size_t lineCount =
        std::bit_ceil(std::max(kLeastLines, entries.size() / kMostGramsOnAverage));
    const size_t wanted = std::max(std::min(entries.size() * kBitsPerGram, kCachedBits),
                                   entries.size() * kLeastBitsPerGram);
    const size_t bits = std::bit_ceil(
        std::max(64 * kLeastLines, std::min(wanted, lineCount << kMostPrintBitsInFilter)));
    lines.resize(lineCount);
    lanes.assign(lineCount, 0);
    base.assign(bits / 64, 0);
    lineShift = shiftFor(lineCount);
    filterShift = shiftFor(bits);
    places.resize(placed);
    for (const Gram& gram : entries) enter(gram);
    lines.shrink_to_fit();
    lanes.shrink_to_fit();
}

void RunTable::enter(const Gram& gram) {
    const uint32_t bit = bitOf(gram.hash);
    if (gram.counts) base[bit / 64] |= uint64_t{1} << (bit % 64);
    uint32_t number = lineOf(gram.hash);
    while (lines[number].next != 0) number = lines[number].next;
    if (lines[number].count == kGramsPerLine) {
        lines[number].next = lines.size() & 0xFFFFFF;
        number = static_cast<uint32_t>(lines.size());
        lines.emplace_back();
        lanes.push_back(0);
    }
    Line& line = lines[number];
    const auto lane = static_cast<uint8_t>(1U << line.count);
    line.prints[line.count] = printOf(gram.hash);
    line.checks[line.count] = gram.check;
    line.values[line.count] = gram.value;
    if (gram.side == Side::None) line.without |= lane;
    if (gram.side >= Side::OneBefore) line.isBefore |= lane;
    if (gram.side == Side::FourAfter || gram.side == Side::FourBefore) line.areFour |= lane;
    if (gram.side == Side::OneAfter || gram.side == Side::OneBefore) line.isOne |= lane;
    if (gram.counts) lanes[number] |= lane;
    if (gram.value < places.size()) places[gram.value] = number * kGramsPerLine + line.count;
    ++line.count;
}

bool RunTable::Line::fits(uint32_t lane, const uint8_t* text, uint32_t at, uint32_t width,
                          uint32_t rest) const {
    const auto has = [lane](uint8_t bits) { return (bits >> lane & 1) != 0; };
    if (has(without)) return true;
    const uint32_t known = has(areFour) ? 4 : has(isOne) ? 1 : 2;
    if (has(isBefore) ? at < known : rest < 4) return !has(isBefore);
    const uint8_t* const bytes = has(isBefore) ? text + at - known : text + at + width;
    const uint16_t found = known == 4 ? fourOf(bytes) : known == 2 ? twoOf(bytes) : oneOf(bytes);
    return checks[lane] == found;
}

uint32_t RunTable::Line::fitting(const Around& around) const {
    const uint32_t areTwo = ~(uint32_t{areFour} | isOne);
    const auto equalOn = [&](const std::array<uint16_t, 3>& side) {
        return (equalLanes(checks.data(), side[0]) & isOne) |
               (equalLanes(checks.data(), side[1]) & areTwo) |
               (equalLanes(checks.data(), side[2]) & areFour);
    };
    const uint32_t after = around.knowsAfter ? equalOn(around.after) : ~0U;
    const uint32_t before = equalOn(around.before);
    return (after & ~uint32_t{isBefore}) | (before & isBefore) | without;
}

}  // namespace STREAMENGINE_SPACE
