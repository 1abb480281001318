// TrieScanner: runs the automaton of a tree over the buffers of one stream.
//
// The automaton restarts at the root for every buffer: a pattern is found only where it lies
// wholly inside one. What carries over is the progress of multi-part signatures.
//
// The pattern returned is the one whose prefix ends first. At one position the longer prefix comes
// first; at one node the wildcard patterns (newest first), then the short ones (newest first),
// then the plain ones, shortest first.
#pragma once

#include <cstdint>

#include "scan/report/ScanResult.h"
#include "store/load/TrieTree.h"
#include "support/FlatMap.h"

namespace STREAMENGINE_SPACE {

class TrieScanner {
  public:
    /// Borrows both for its life; tree must be prepared.
    TrieScanner(const TrieTree& searched, ScanResult* details) : tree(searched), result(details) {}

    /// Forgets the progress of multi-part signatures.
    void reset();

    /// Scans a buffer whose first byte has stream offset base.
    /// @return the first signature that is complete, or null
    /// @throws QLT_SPACE::Exception or std::bad_alloc if memory runs out
    const TriePattern* virusFound(const unsigned char* buf, unsigned int len, unsigned int base);

    /// @return the position in the last buffer just behind the pattern matched last
    const unsigned char* getMatchPosition() const { return matchPosition; }

  private:
    /// How far a multi-part signature has come.
    struct Progress {
        uint32_t partsMatched = 0;  // parts accepted so far
        uint32_t partEnd = 0;       // stream offset just after the last of them
    };
    /// The text from a candidate's start to the end of the buffer.
    struct Rest {
        const unsigned char* bytes;
        unsigned int length;
        unsigned int offset;  // of bytes, in the stream
    };

    // With kTrace, the debug lines of the matching path are sent.
    template <bool kTrace>
    const TriePattern* search(const unsigned char* buf, unsigned int len, unsigned int base);
    template <bool kTrace>
    const TriePattern* matchNode(const TrieNode& node, const Rest& rest);
    const TriePattern* matchWildcardPatternList(const VQPatternList& list, const Rest& rest);
    bool matchWildcardPattern(const TriePattern& pattern, const Rest& rest);
    template <bool kTrace>
    const TriePattern* matchSimplePatternList(const TrieNode& node, const Rest& rest);
    template <bool kTrace>
    const TriePattern* matchSamePrefixList(const VQPatternList& list, const Rest& rest);
    /// Notes where a pattern that matched at rest ends and verifies it.
    template <bool kTrace>
    bool acceptSimple(const TriePattern& pattern, const Rest& rest);

    /// Checks the conditions of a pattern that matches at stream offset pos.
    /// @return whether its signature is complete with it
    bool verifyPattern(const TriePattern& pattern, unsigned int pos);
    bool findMatchedVirus(const TriePattern& pattern, unsigned int pos);

    const TrieTree& tree;
    QLT_SPACE::FlatMap<Progress> progress;  // by sigid: the signatures under way
    const unsigned char* matchPosition = nullptr;
    FastMatcher fastMatcher;
    ScanResult* result;
};

}  // namespace STREAMENGINE_SPACE
