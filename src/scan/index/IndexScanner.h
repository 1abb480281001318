// IndexScanner: searches the buffers of one stream with the compiled index of a set.
//
// It gives the answers of TrieScanner and, where that finds nothing, of BmScanner, in one pass over
// the text. Three things differ, none of which can be seen from outside:
//
//   - What was judged is not judged again. A place at which nothing began stays so, whatever comes
//     behind it; of the tail of the last buffer only that is searched again which was cut short. (A
//     part that was refused stays refused: what would have to be accepted before it lies behind
//     it.)
//   - A later part of a multi-part signature sleeps until the one in front of it is accepted:
//     where it matches before, its text is not even compared.
//   - The progress of signatures that begin with the same part is kept once for all of them until
//     their second part. So their number does not matter to a stream that holds the first.
#pragma once

#include <cstdint>

#include "scan/digest/DigestFeed.h"
#include "scan/index/UnitMarks.h"
#include "scan/plain/PartProgress.h"
#include "scan/report/ScanResult.h"
#include "store/index/SignatureIndex.h"

namespace STREAMENGINE_SPACE {

class IndexScanner {
  public:
    static constexpr uint32_t kSlack = 2 * GramFilter::kReadLength;

    struct Match {
        const VQPattern* pattern = nullptr;  // null: nothing was found
        bool isTrie = false;                 // a TriePattern, else a BmPattern
        uint32_t end = 0;                    // index in the text just behind it
    };

    /// Borrows both for its life.
    IndexScanner(const SignatureIndex& searched, ScanResult* details)
        : index(searched), result(details) {}

    /// Forgets the progress of multi-part signatures.
    void reset();

    /// Scans a buffer.
    /// @param text     kSlack bytes behind its end have to be readable
    /// @param base     stream offset of its first byte
    /// @param settled  index in front of which nothing begins, as a search of what stands there
    /// told
    /// @param feed     of which a part may be digested on the way
    /// @throws QLT_SPACE::Exception or std::bad_alloc if memory runs out
    Match virusFound(const uint8_t* text, uint32_t length, uint32_t base, uint32_t settled,
                     DigestFeed& feed);

    /// @return the index in the last buffer in front of which nothing begins, whatever follows it;
    ///         of use only if nothing was found
    uint32_t settledEnd() const { return settledTo; }

  private:
    class Pass;

    struct Progress {
        uint32_t partsMatched;
        uint32_t partEnd;
    };

    Progress progressOf(const TriePattern& part) const;
    /// @return whether part is the next one of its signature
    bool isAwake(const TriePattern& part) const;
    /// Visits the members of a unit that are the next parts of their signatures.
    /// @param visit  takes a Member and returns whether to stop
    /// @return whether it was stopped
    bool visitAwake(uint32_t unit, const auto& visit) const;
    /// Asked of units of Kind::LaterOfMany.
    bool anyAwake(uint32_t unit);
    /// @return whether none of the unit's members can be accepted at pos or behind it
    bool isFinished(uint32_t unit, uint32_t pos) const;
    /// Accepts a part, which has to fit, of one signature.
    /// @return whether that is complete
    bool acceptPart(const TriePattern& part, uint32_t pos);

    const SignatureIndex& index;
    ScanResult* result;
    PartProgress started;  // by unit of Kind::First: its signatures, but for those in own
    PartProgress own;      // by sigid: signatures of which more is known
    PartProgress asleep;   // by unit of Kind::LaterOfMany: at which count of acceptances all slept
    UnitMarks marks;       // None: not found yet (Kind::First), asleep (Kind::Later)
    uint32_t acceptances = 0;
    // The last search found something and no reset followed: its bytes are forgotten and their
    // offsets come again, so that a gap that had grown too wide may fit once more.
    bool wentOn = false;
    uint32_t settledTo = 0;
};

}  // namespace STREAMENGINE_SPACE
