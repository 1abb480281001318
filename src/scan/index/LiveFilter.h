// LiveFilter: which grams of a RunTable count at this moment of a stream.
//
// A copy of the table's base filter, with the changes that the stream made. The changed words are
// remembered, so that taking all back costs as much as making the changes.
#pragma once

#include <cstdint>
#include <vector>

#include "store/index/RunTable.h"

namespace STREAMENGINE_SPACE {

class LiveFilter {
  public:
    /// Copies the base filter of a table, which is borrowed until the next call.
    /// @throws std::bad_alloc
    void adopt(const RunTable& searched) {
        words = searched.baseFilter();
        changed.clear();
        table = &searched;
    }

    GramFilter::View view() const { return table->viewOf(words.empty() ? nullptr : words.data()); }

    /// Each changes the bit of a hash.
    /// @throws std::bad_alloc with nothing changed
    void set(uint64_t hash) {
        const uint32_t bit = table->bitOf(hash);
        change(bit / 64, words[bit / 64] | uint64_t{1} << (bit % 64));
    }
    void clear(uint64_t hash) {
        const uint32_t bit = table->bitOf(hash);
        change(bit / 64, words[bit / 64] & ~(uint64_t{1} << (bit % 64)));
    }

    /// Takes all changes back. The table has to be the one that was adopted.
    void restore() {
        for (const uint32_t word : changed) words[word] = table->baseFilter()[word];
        changed.clear();
    }

  private:
    void change(uint32_t word, uint64_t value) {
        if (words[word] == value) return;
        changed.push_back(word);
        words[word] = value;
    }

    const RunTable* table = nullptr;
    std::vector<uint64_t> words;
    std::vector<uint32_t> changed;  // some of them more than once
};

}  // namespace STREAMENGINE_SPACE
