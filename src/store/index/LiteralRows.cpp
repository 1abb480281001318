#include "store/index/LiteralRows.h"

#include <algorithm>

namespace STREAMENGINE_SPACE {
namespace {

size_t spanOf(size_t symbols) {
    return std::min<size_t>(symbols, kFurthestAnchor);
}

}  // namespace

void LiteralRows::assign(const IndexUnit& unit) {
    if (unit.kind() == UnitKind::PlainString) {
        assignPlain(unit.bm().sig);
    } else if (unit.trie().isWildcard) {
        assignSymbols(unit.trie().symbols);
    } else {
        assignPlain(unit.trie().sig);
    }
}

void LiteralRows::assignPlain(std::span<const uint8_t> plain) {
    const size_t length = spanOf(plain.size());
    bytes.assign(plain.begin(), plain.begin() + static_cast<std::ptrdiff_t>(length));
    bytes.resize(length + GramFilter::kReadLength);
    rows.assign(1, {0, static_cast<uint32_t>(length)});
}

void LiteralRows::assignSymbols(std::span<const Symbol> symbols) {
    const size_t length = spanOf(symbols.size());
    bytes.assign(length + GramFilter::kReadLength, 0);
    rows.clear();
    for (uint32_t i = 0; i < length; ++i) {
        bytes[i] = static_cast<uint8_t>(symbols[i]);
        if (isWildcardSymbol(symbols[i])) continue;
        if (rows.empty() || rows.back().end != i) rows.push_back({i, i});
        ++rows.back().end;
    }
}

uint32_t LiteralRows::longest() const {
    uint32_t length = 0;
    for (const Row& row : rows) length = std::max(length, row.length());
    return length;
}

}  // namespace STREAMENGINE_SPACE
