// LiveFilter: which grams of a RunTable count at this moment of a stream.
//
// A copy of the table's base filter and of the bits of its lines, with the changes that the stream
// made. What changed is remembered, so that taking all back costs as much as making the changes.
#pragma once

#include <cstdint>
#include <vector>

#include "store/index/RunTable.h"

namespace STREAMENGINE_SPACE {

class LiveFilter {
  public:
    /// Copies the base of a table, which is borrowed until the next call.
    /// @throws std::bad_alloc
    void adopt(const RunTable& searched) {
        words = searched.baseFilter();
        lanes = searched.baseLanes();
        changedWords.clear();
        changedLines.clear();
        table = &searched;
    }

    GramFilter::View view() const { return table->viewOf(words.empty() ? nullptr : words.data()); }
    /// By line of the table: a bit for each gram that counts.
    const uint8_t* allLanes() const { return lanes.data(); }

    /// Lets the gram with a hash and a value count, which is in the table.
    /// @throws std::bad_alloc
    void set(uint64_t hash, uint32_t value) {
        const uint32_t bit = table->bitOf(hash);
        change(words, changedWords, bit / 64, words[bit / 64] | uint64_t{1} << (bit % 64));
        const auto [line, lane] = table->placeOf(value);
        change(lanes, changedLines, line, static_cast<uint8_t>(lanes[line] | 1U << lane));
    }
    /// Clears the filter's bit of a hash.
    /// @throws std::bad_alloc with nothing changed
    void clear(uint64_t hash) {
        const uint32_t bit = table->bitOf(hash);
        change(words, changedWords, bit / 64, words[bit / 64] & ~(uint64_t{1} << (bit % 64)));
    }
    /// Lets a gram of a line not count any more.
    /// @throws std::bad_alloc with nothing changed
    void clearLane(uint32_t line, uint32_t lane) {
        change(lanes, changedLines, line, static_cast<uint8_t>(lanes[line] & ~(1U << lane)));
    }

    /// Takes all changes back. The table has to be the one that was adopted.
    void restore() {
        for (const uint32_t word : changedWords) words[word] = table->baseFilter()[word];
        for (const uint32_t line : changedLines) lanes[line] = table->baseLanes()[line];
        changedWords.clear();
        changedLines.clear();
    }

  private:
    template <class Value>
    static void change(std::vector<Value>& all, std::vector<uint32_t>& changed, uint32_t at,
                       Value value) {
        if (all[at] == value) return;
        changed.push_back(at);
        all[at] = value;
    }

    const RunTable* table = nullptr;
    std::vector<uint64_t> words;
    std::vector<uint8_t> lanes;
    std::vector<uint32_t> changedWords;  // some of them more than once, as the following
    std::vector<uint32_t> changedLines;
};

}  // namespace STREAMENGINE_SPACE
