// LiteralRows: the rows of consecutive literal bytes of a pattern.
//
// Of "ab??cdef" the rows are "ab" at symbol 0 and "cdef" at symbol 3. Anchors are chosen inside
// rows.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "store/index/GramFilter.h"
#include "store/index/IndexUnit.h"

namespace STREAMENGINE_SPACE {

class LiteralRows {
  public:
    struct Row {
        uint32_t begin;
        uint32_t end;
        uint32_t length() const { return end - begin; }
    };

    /// Replaces the rows by those of another unit: of as many of its first symbols as may hold an
    /// anchor.
    void assign(const IndexUnit& unit);

    /// @return the bytes from a symbol on; GramFilter::kReadLength of them are readable, also at
    ///         the end of the last row
    const uint8_t* at(uint32_t symbol) const { return bytes.data() + symbol; }
    std::span<const Row> all() const { return rows; }
    /// @return bytes of the longest row
    uint32_t longest() const;

  private:
    void assignPlain(std::span<const uint8_t> plain);
    void assignSymbols(std::span<const Symbol> symbols);

    std::vector<uint8_t> bytes;
    std::vector<Row> rows;  // none empty; ascending
};

}  // namespace STREAMENGINE_SPACE
