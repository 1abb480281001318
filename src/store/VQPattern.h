// The records of loaded signatures: VQPattern with BmPattern and TriePattern, and MD5Pattern.
//
// Detection names are stored scrambled and stay so: whoever needs a plain name makes a copy with
// EngUtil::scrambled(). Records never change once their container is prepared.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace STREAMENGINE_SPACE {

/// A symbol of a wildcard signature: 0 to 255 is that byte, one with a high byte is a wildcard.
using Symbol = uint16_t;
constexpr Symbol kAnySymbol = 0xFF38;    // any one byte
constexpr Symbol kGroupSymbol = 0xFF37;  // one byte of the pattern's next alternative group
constexpr bool isWildcardSymbol(Symbol symbol) {
    return symbol > 0xFF;
}

/// What all body signatures share.
struct VQPattern {
    virtual ~VQPattern() = default;

    std::string virName;  // scrambled
    uint32_t length = 0;  // symbols
    uint16_t targetType = 0;
    std::optional<std::string> offset;  // decimal stream offset of the match; none: anywhere

    /// Dumps the record to the debug log while the detail-log option is on.
    virtual void printSigInfo() const = 0;
    /// The same, headed by the stream offset at which a match that ends at `end` begins.
    virtual void printSigInfo(uint32_t end) const = 0;

  protected:
    VQPattern() = default;
    VQPattern(const VQPattern&) = default;
    VQPattern& operator=(const VQPattern&) = default;
};

/// A plain byte string, searched with the shift table.
struct BmPattern final : VQPattern {
    std::vector<uint8_t> sig;

    void printSigInfo() const override;
    void printSigInfo(uint32_t end) const override;
};

/// One part of a body signature, searched with the automaton.
struct TriePattern final : VQPattern {
    uint8_t depth = 0;            // leading symbols that the automaton's path consumes, 2 or 3
    bool isWildcard = false;      // the part's text contained "?" or "("
    std::vector<uint8_t> sig;     // the bytes, if not isWildcard
    std::vector<Symbol> symbols;  // the symbols, if isWildcard
    uint32_t minDistance = 0;     // bytes from the previous part's end to this start; 0: no bound
    uint32_t maxDistance = 0;
    uint32_t sigid = 0;   // shared by all parts of a signature; 0: it has only one
    uint16_t parts = 0;   // number of parts, 0 for a single-part signature
    uint16_t partno = 0;  // from 1, 0 for a single-part signature
    uint16_t type = 0;    // file-type code of a built-in type signature, else 0
    /// The byte values of each alternative group, in the order written; the k-th kGroupSymbol of
    /// symbols stands for the k-th group.
    std::vector<std::vector<uint8_t>> groups;

    void printSigInfo() const override;
    void printSigInfo(uint32_t end) const override;

    /// @return symbol i as such, whatever form the part is kept in
    Symbol symbolAt(uint32_t i) const { return isWildcard ? symbols[i] : sig[i]; }
};

/// The digest and length of a whole normalised stream.
struct MD5Pattern {
    std::array<uint8_t, 16> digest{};
    std::string virName;  // scrambled
    int32_t size = 0;     // bytes
};

}  // namespace STREAMENGINE_SPACE
