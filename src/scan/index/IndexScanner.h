// IndexScanner: searches the texts of one stream with the compiled index of a set.
//
// It finds what TrieScanner and, where that finds nothing, BmScanner find, in one pass over the
// text. docs/search.md explains the search with a worked example. Its parts, in the order of the
// flow:
//
//   AnchorWalk       goes over the text: which grams of anchors are in it?  (walk and probe)
//   CandidateFilter  compares what is left with the records                 (filter)
//   FoundUnits       sorts what was found by its place in the text          (order)
//   PartJudge        accepts parts and completes signatures                 (judge)
//
// From one search to the next a stream keeps SignatureProgress and UnitStates, and the index up to
// which the last text is decided: no position is judged twice.
#pragma once

#include <cstdint>

#include "scan/digest/DigestFeed.h"
#include "scan/index/SignatureProgress.h"
#include "scan/index/UnitStates.h"
#include "scan/report/BodyMatch.h"
#include "scan/report/ScanResult.h"
#include "scan/text/SearchText.h"
#include "store/index/SignatureIndex.h"

namespace STREAMENGINE_SPACE {

class IndexScanner {
  public:
    /// Borrows both for its life.
    IndexScanner(const SignatureIndex& searched, ScanResult& partDetails)
        : index(searched), details(partDetails), progress(searched) {}

    /// Forgets the progress of multi-part signatures.
    void reset();

    /// Searches a text.
    /// @param feed  part of it may be digested on the way
    /// @throws QLT_SPACE::Exception or std::bad_alloc if memory runs out
    BodyMatch virusFound(const SearchText& text, DigestFeed& feed);

    /// @return index in the last text before which no match begins, whatever bytes follow the text.
    ///         Without meaning if a match was found.
    uint32_t decidedTo() const { return decidedEnd; }

  private:
    BodyMatch search(const SearchText& text, DigestFeed& feed);

    const SignatureIndex& index;
    ScanResult& details;
    SignatureProgress progress;
    UnitStates states;
    // The last search found something and no reset followed: its bytes are forgotten and their
    // offsets come again, so that a gap that had grown too wide may fit once more.
    bool continuedWithoutReset = false;
    uint32_t decidedEnd = 0;
};

}  // namespace STREAMENGINE_SPACE
