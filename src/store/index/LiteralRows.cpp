#include "store/index/LiteralRows.h"

#include <algorithm>

namespace STREAMENGINE_SPACE {

void LiteralRows::assign(std::span<const uint8_t> plain) {
    const size_t length = std::min<size_t>(plain.size(), kAnchorSpan);
    std::copy_n(plain.begin(), length, bytes.begin());
    rows.assign(1, {0, static_cast<uint32_t>(length)});
}

void LiteralRows::assign(std::span<const Symbol> symbols) {
    const size_t length = std::min<size_t>(symbols.size(), kAnchorSpan);
    rows.clear();
    for (uint32_t i = 0; i < length; ++i) {
        bytes[i] = static_cast<uint8_t>(symbols[i]);
        if (isWildcardSymbol(symbols[i])) continue;
        if (rows.empty() || rows.back().end != i) rows.push_back({i, i});
        ++rows.back().end;
    }
}

const LiteralRows::Row& LiteralRows::rowAround(uint32_t symbol) const {
    return *std::find_if(rows.begin(), rows.end(),
                         [symbol](const Row& row) { return row.end > symbol; });
}

uint32_t LiteralRows::longest() const {
    uint32_t length = 0;
    for (const Row& row : rows) length = std::max(length, row.length());
    return length;
}

}  // namespace STREAMENGINE_SPACE
