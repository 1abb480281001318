// RecordArena: where the records of a list or tree live, with their nodes and all that they borrow.
//
// A set may hold millions of records that live and die together: each is one run of memory without
// a header of its own. A loader builds a record in memory of its own and hands it over when the
// line is found good, so that refused lines leave nothing behind.
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
    const char* lastName = nullptr;  // the parts of a signature share theirs
};

}  // namespace STREAMENGINE_SPACE
