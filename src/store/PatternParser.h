// PatternParser: sorted pattern lists, and the hexadecimal notation of signatures.
//
// The decoders' messages name the pattern file and line that the loader has in hand.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "store/FastMatcher.h"
#include "store/VQPatternNode.h"

namespace STREAMENGINE_SPACE {

class PatternParser {
  public:
    /// Sorts a list by VQPatternNode::compareTo(). Equal patterns keep their order, so that those
    /// of a list that grew at its front are newest first.
    /// @throws QLT_SPACE::Exception as VQPatternNode::compareTo(); the list is then as it was
    static void sortPatternList(VQPatternList& list);

    /// Regroups a list of TriePatternNodes sorted by compareTo(): a node whose pattern begins with
    /// that of the node in front moves to the end of that node's samePrefix list. Afterwards no
    /// pattern of the list begins with another of it.
    static void buildSamePrefixList(VQPatternList& list);

    /// Lists the nodes' bytes as a table for FastMatcher, each entry's value its VQPatternNode.
    /// The table borrows from the list. Empty, with a log line, for an empty list or a node of no
    /// kind.
    static std::vector<PatInfo> setSortedList(const VQPatternList& list);

    /// @return 0 to 15
    /// @throws QLT_SPACE::Exception "Invalid hex string in [%s:%d]"
    static int hex2int(char c);

    /// Decodes two digits a byte, high digit first; "?" and any character give 0x38.
    /// @throws QLT_SPACE::Exception for an odd length or a character that is no digit
    static std::vector<uint8_t> hex2str(std::string_view hex);

    /// Decodes into symbols; "?" and any character give kAnySymbol, "@" and any kGroupSymbol.
    /// @throws QLT_SPACE::Exception for an odd length or a character that is no digit
    static std::vector<Symbol> hex2si(std::string_view hex);

    /// Decodes a digest text of exactly len digits into the len / 2 bytes at out.
    /// @throws QLT_SPACE::Exception for an odd len, another length, or a character that is no
    ///         digit; the bytes before it are written
    static void hex2str(std::string_view hex, uint8_t* out, unsigned int len);
};

}  // namespace STREAMENGINE_SPACE
