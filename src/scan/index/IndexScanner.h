// IndexScanner: searches the texts of one stream with the compiled index of a set.
//
// It finds what TrieScanner and, where that finds nothing, BmScanner find, in one pass over the
// text. docs/search.md explains the search with a worked example. Its parts, in the order of the
// flow:
//
//   AnchorWalk       goes over the text: which grams of anchors are in it?  (walk and probe)
//   CandidateFilter  compares what is left with the units                   (filter)
//   LiveParts        accepts parts, and knows which parts count             (accept)
//
// From one search to the next a stream keeps its PartLog, and the index up to which the last text
// is decided: each position is decided once. After a plain string it also keeps the FoundStrings
// ahead, and a PartOutlook says whether a signature is complete before these count.
//
// Two things that are rare are left to the loaded form (mustWalk): a text in which stream offsets
// pass 4 GiB, where "later" is not "greater"; and a stream that goes on after a match without a
// reset if the match came between the parts that one entry of the log stands for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

#include "scan/digest/DigestFeed.h"
#include "scan/index/CandidateFilter.h"
#include "scan/index/FoundStrings.h"
#include "scan/index/LiveParts.h"
#include "scan/index/PartLog.h"
#include "scan/index/PartOutlook.h"
#include "scan/report/BodyMatch.h"
#include "scan/report/ScanResult.h"
#include "scan/text/SearchText.h"
#include "store/index/SignatureIndex.h"

namespace STREAMENGINE_SPACE {

class TrieScanner;

class IndexScanner {
  public:
    /// Borrows both for its life.
    IndexScanner(const SignatureIndex& searched, ScanResult& partDetails)
        : index(searched), details(partDetails) {}

    /// Forgets the progress of multi-part signatures.
    void reset();
    /// Does the same after a plain string, but keeps what the search found ahead if it stays true.
    /// @param end  index in the last text just after the string: the next text begins there
    /// @return decidedTo of the next text
    uint32_t resetAfterString(uint32_t end);

    /// @return whether the text has to be searched by the loaded form: exportProgress() first
    bool mustWalk(const SearchText& text) const;
    /// Hands the progress over to a scanner of the loaded form.
    /// @throws std::bad_alloc
    void exportProgress(TrieScanner& scanner) const;
    /// Takes the progress back.
    /// @return whether that is possible: if not, the other scanner has to go on until reset()
    /// @throws std::bad_alloc
    bool importProgress(const TrieScanner& scanner);

    /// Searches a text.
    /// @param feed  part of it may be digested on the way
    /// @throws QLT_SPACE::Exception or std::bad_alloc if memory runs out
    BodyMatch virusFound(const SearchText& text, DigestFeed& feed);

    /// Forgets what it knows about the last text, but not the progress.
    void forgetText();

    /// @return index in the last text before which no match begins, whatever bytes follow the text.
    ///         Without meaning if a match was found.
    uint32_t decidedTo() const { return decidedEnd; }

  private:
    /// A match of the automaton after which the stream was not reset.
    struct LastMatch {
        uint32_t start = 0;  // stream offset at which its last part begins
        uint32_t rank = kNoRank;
    };

    BodyMatch search(const SearchText& text, LiveParts* live, DigestFeed& feed);
    bool hasOnlyStrings(const SearchText& text);
    void forgetParts();
    void prepareSearch(bool keepsStrings);
    BodyMatch searchNew(const SearchText& text, DigestFeed& feed);
    BodyMatch firstString(const SearchText& text) const;
    uint32_t firstAccepted();
    void forgetLeast();
    void goOnAfterMatch();
    void addDetails(const SearchText& text, const Completion& completion);
    StreamKey key();

    const SignatureIndex& index;
    ScanResult& details;
    PartLog log;
    uint64_t ownNumber = 0;  // of this scanner among all of the process; 0: not given yet
    uint64_t epoch = 0;      // counts what made the log shorter
    LastMatch lastMatch;
    FoundStrings strings;         // of the last text
    bool areStringsKept = false;  // for the next text
    // The log is forgotten, but the rest of the text was searched with it.
    bool needsOutlook = false;
    std::unique_ptr<PartOutlook> outlook;  // made when it is needed
    size_t considered = 0;  // entries of the log of which leastStart is the first start
    uint32_t leastStart = std::numeric_limits<uint32_t>::max();
    uint32_t lastOffset = 0;         // stream offset of the last text, without what was resumed
    uint32_t lastLength = 0;         // of it
    std::ptrdiff_t newestEntry = 0;  // of the log: the first that the last search added
    // The last search found something and no reset followed: its bytes are forgotten and their
    // offsets come again, so that a gap that had grown too wide may fit once more.
    bool continuedWithoutReset = false;
    bool offsetsCameAgain = false;  // since the last reset: the log may hold later offsets
    bool isWholeTextSearched = false;
    uint32_t decidedEnd = 0;
};

}  // namespace STREAMENGINE_SPACE
