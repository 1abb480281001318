// LiteralRows: the rows of consecutive literal bytes at the beginning of a pattern.
//
// Of "ab??cdef" the rows are "ab" at symbol 0 and "cdef" at symbol 3. Anchors are chosen inside
// rows.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "store/index/GramFilter.h"
#include "store/record/VQPattern.h"

namespace STREAMENGINE_SPACE {

constexpr uint32_t kAnchorSpan = 256;  // symbols of a pattern among which its anchor lies

class LiteralRows {
  public:
    struct Row {
        uint32_t begin;
        uint32_t end;
        uint32_t length() const { return end - begin; }
    };

    /// Each replaces the rows by those of another pattern's first kAnchorSpan symbols.
    void assign(std::span<const uint8_t> plain);
    void assign(std::span<const Symbol> symbols);

    /// @return the bytes from a symbol on; GramFilter::kReadLength of them are readable, also at
    ///         the end of the last row
    const uint8_t* at(uint32_t symbol) const { return bytes.data() + symbol; }
    std::span<const Row> all() const { return rows; }
    /// @return the row that holds a symbol or, if it is a wildcard, the next row
    const Row& rowAround(uint32_t symbol) const;
    /// @return bytes of the longest row
    uint32_t longest() const;

  private:
    std::array<uint8_t, kAnchorSpan + GramFilter::kReadLength> bytes{};
    std::vector<Row> rows;  // none empty; ascending
};

}  // namespace STREAMENGINE_SPACE
