// RecordArena: owns the records of a list or tree, their nodes and all that they borrow.
//
// A set may hold millions of records, which are all freed together. So they lie one after the other
// in an arena, without a heap header for each: a plain signature takes 64 bytes besides its own
// bytes and its name. A loader builds a record in memory of its own and has it copied here once the
// line is accepted, so refused lines take no room.
#pragma once

#include "store/record/VQPatternNode.h"
#include "support/Arena.h"

namespace STREAMENGINE_SPACE {

class RecordArena {
  public:
    /// Makes room for a copy of pattern: the keep() that follows cannot fail.
    /// @throws std::bad_alloc
    void reserve(const BmPattern& pattern);
    void reserve(const TriePattern& pattern);

    /// Copies a record and what it borrows.
    /// @return the copy's node, valid until reset()
    /// @throws std::bad_alloc
    BmPatternNode* keep(const BmPattern& pattern);
    TriePatternNode* keep(const TriePattern& pattern);

    /// Frees everything.
    void reset();

  private:
    void keepTexts(VQPattern& pattern);

    QLT_SPACE::Arena arena;
    const char* lastName = nullptr;  // borrowed from arena; the parts of a signature share theirs
};

}  // namespace STREAMENGINE_SPACE
