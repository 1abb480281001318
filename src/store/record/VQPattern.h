// The records of loaded signatures: VQPattern with BmPattern and TriePattern, and MD5Pattern.
//
// Detection names are stored scrambled and stay so: whoever needs a plain name makes a copy with
// scrambled(). Records never change once their container is prepared.
//
// A record borrows its texts and bytes: one of a set from the set's RecordArena, one of a line that
// is being parsed from the loader. Sets hold millions of records, so each field here costs millions
// of bytes.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "support/DecimalNumber.h"

namespace STREAMENGINE_SPACE {

/// A symbol of a wildcard signature: 0 to 255 is that byte, one with a high byte is a wildcard.
using Symbol = uint16_t;
constexpr Symbol kAnySymbol = 0xFF38;    // any one byte
constexpr Symbol kGroupSymbol = 0xFF37;  // one byte of the pattern's next alternative group
constexpr bool isWildcardSymbol(Symbol symbol) {
    return symbol > 0xFF;
}

/// The byte values of an alternative group, in the order written.
using ByteGroup = std::span<const uint8_t>;

/// What all body signatures share. Which kind a record is, its VQPatternNode knows.
struct VQPattern {
    const char* virName = "";      // scrambled
    const char* offset = nullptr;  // decimal stream offset of the match; null: anywhere
    uint32_t length = 0;           // symbols
    uint16_t targetType = 0;

    /// @return whether the record's offset condition lets a match begin at this stream offset
    bool beginsAt(uint32_t streamOffset) const {
        return offset == nullptr || QLT_SPACE::decimalInt64(offset) == int64_t{streamOffset};
    }

  protected:
    VQPattern() = default;
    VQPattern(const VQPattern&) = default;
    VQPattern& operator=(const VQPattern&) = default;
    ~VQPattern() = default;
};

/// A plain byte string, searched with the shift table.
struct BmPattern final : VQPattern {
    std::span<const uint8_t> sig;

    /// Dumps the record to the debug log while the detail-log option is on.
    void printSigInfo() const;
    /// The same, headed by the stream offset at which a match that ends at `end` begins.
    void printSigInfo(uint32_t end) const;
};

/// One part of a body signature, searched with the automaton.
struct TriePattern final : VQPattern {
    uint8_t depth = 0;         // leading symbols that the automaton's path consumes, 2 or 3
    bool isWildcard = false;   // the part's text contained "?" or "("
    uint16_t type = 0;         // file-type code of a built-in type signature, else 0
    uint16_t parts = 0;        // number of parts, 0 for a single-part signature
    uint16_t partno = 0;       // from 1, 0 for a single-part signature
    uint32_t sigid = 0;        // shared by all parts of a signature; 0: it has only one
    uint32_t minDistance = 0;  // bytes from the previous part's end to this start; 0: no bound
    uint32_t maxDistance = 0;
    std::span<const uint8_t> sig;       // the bytes, if not isWildcard
    std::span<const Symbol> symbols;    // the symbols, if isWildcard
    std::span<const ByteGroup> groups;  // group k belongs to the k-th kGroupSymbol of symbols

    /// Parts are accepted strictly in order, each once, and none before its predecessor ends.
    /// @param partsMatched  parts of its signature accepted so far
    /// @param partEnd       stream offset just after the last of them
    /// @param pos           stream offset at which this part matches
    bool mayFollow(uint32_t partsMatched, uint32_t partEnd, uint32_t pos) const {
        if (partsMatched + 1 != partno || pos < partEnd) return false;
        const uint32_t gap = pos - partEnd;
        return (maxDistance == 0 || gap <= maxDistance) && (minDistance == 0 || gap >= minDistance);
    }

    void printSigInfo() const;  // as BmPattern's
    void printSigInfo(uint32_t end) const;

    /// @return symbol i as such, whatever form the part is kept in
    Symbol symbolAt(uint32_t i) const { return isWildcard ? symbols[i] : sig[i]; }
};

/// The digest and length of a whole normalised stream.
struct MD5Pattern {
    std::array<uint8_t, 16> digest{};
    const char* virName = "";  // scrambled; borrowed from the list's texts
    int32_t size = 0;          // bytes
};

}  // namespace STREAMENGINE_SPACE
