// FastMatcher: finds the entry of a sorted table of byte strings that is a prefix of a text.
#pragma once

#include <cstdint>

namespace STREAMENGINE_SPACE {

/// One table entry. A table is sorted by bytes, unsigned; a string before any that it begins.
struct PatInfo {
    const uint8_t* bytes = nullptr;
    uint32_t length = 0;
    const void* value = nullptr;  // what find() answers for this entry
};

/// Borrows its table and keeps no other state.
class FastMatcher {
  public:
    void SetPatternList(const PatInfo* table, unsigned int entries) {
        patterns = table;
        count = entries;
    }

    /// @return the value of an entry whose bytes begin text, or null. Of several such entries it is
    ///         the one that the binary search meets first, not always the longest.
    const void* find(const unsigned char* text, unsigned int len) const;

    /// Searches entries lo to hi.
    /// @return an index, or a negative value for not found
    int find_i(int lo, int hi, const unsigned char* text, unsigned int len) const;

    /// @return 0 if text begins with pat, -1 if text sorts before pat or is only a beginning of
    ///         it, 1 if text sorts after it
    static int cmp_sw(const unsigned char* text, unsigned int textLen, const unsigned char* pat,
                      unsigned int patLen);

  private:
    const PatInfo* patterns = nullptr;
    unsigned int count = 0;
};

}  // namespace STREAMENGINE_SPACE
