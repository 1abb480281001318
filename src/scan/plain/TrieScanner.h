// TrieScanner: runs the automaton of a tree over the texts of one stream.
//
// The automaton begins at the root in every text: a pattern is found only where it lies wholly
// inside one. What carries over is the progress of multi-part signatures.
//
// The first signature that is complete is returned. Patterns are tried in the order in which their
// prefixes end in the text. Where two prefixes end at one position the longer one comes first; at
// one node the wildcard patterns (newest first), then the short ones (newest first), then the plain
// ones, shortest first.
#pragma once

#include <cstdint>

#include "scan/report/ScanResult.h"
#include "scan/text/SearchText.h"
#include "store/load/TrieTree.h"
#include "support/FlatMap.h"

namespace STREAMENGINE_SPACE {

class TrieScanner {
  public:
    /// How far a multi-part signature has come.
    struct Progress {
        uint32_t partsMatched = 0;  // parts accepted so far
        uint32_t partEnd = 0;       // stream offset just after the last of them
    };

    /// Borrows both for its life; tree must be prepared.
    TrieScanner(const TrieTree& searched, ScanResult* details) : tree(searched), result(details) {}

    /// Forgets the progress of multi-part signatures.
    void reset();
    Progress progressOf(uint32_t sigid) const {
        const Progress* known = progress.find(sigid);
        return known != nullptr ? *known : Progress{};
    }
    void setProgress(uint32_t sigid, const Progress& made) { progress.findOrInsert(sigid) = made; }

    /// @return the first signature that is complete, by its last part, or null
    /// @throws QLT_SPACE::Exception or std::bad_alloc if memory runs out
    const TriePattern* virusFound(const SearchText& text);

    /// @return index in the last text of the first byte after the pattern matched last
    uint32_t getMatchPosition() const { return matchPosition; }

  private:
    /// The text from a candidate's start to its end.
    struct Rest {
        const uint8_t* bytes;
        uint32_t length;
        uint32_t start;   // index in the text
        uint32_t offset;  // of the first byte, in the stream
    };

    // With kTrace, the debug lines of the matching path are sent.
    template <bool kTrace>
    const TriePattern* search(const SearchText& text);
    template <bool kTrace>
    const TriePattern* matchNode(const TrieNode& node, const Rest& rest);
    const TriePattern* matchWildcardPatternList(const VQPatternList& list, const Rest& rest);
    bool matchWildcardPattern(const TriePattern& pattern, const Rest& rest);
    template <bool kTrace>
    const TriePattern* matchSimplePatternList(const TrieNode& node, const Rest& rest);
    template <bool kTrace>
    const TriePattern* matchSamePrefixList(const VQPatternList& list, const Rest& rest);
    /// Stores where a pattern that matches at rest ends, and verifies it.
    template <bool kTrace>
    bool acceptSimple(const TriePattern& pattern, const Rest& rest);

    /// Checks the conditions of a pattern that matches at stream offset pos.
    /// @return whether its signature is complete with it
    bool verifyPattern(const TriePattern& pattern, uint32_t pos);
    bool findMatchedVirus(const TriePattern& pattern, uint32_t pos);

    const TrieTree& tree;
    QLT_SPACE::FlatMap<Progress> progress;  // by sigid: the signatures under way
    uint32_t matchPosition = 0;
    FastMatcher fastMatcher;
    ScanResult* result;
};

}  // namespace STREAMENGINE_SPACE
