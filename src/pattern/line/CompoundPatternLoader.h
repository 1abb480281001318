// CompoundPatternLoader: cuts a body signature into its parts and builds their records.
//
// The notation, with hexadecimal digits of either case:
//   two digits       one literal byte
//   ??               any byte; the character after the first "?" is not checked
//   (aa|bb|...)      one of at least two bytes
//   *                a gap of any length
//   {n}              a gap of n bytes; 0 means no bound, here and below
//   {n-m} {n-} {-m}  a gap of at least n and at most m bytes
//
// A gap cuts the signature: its parts are searched for by themselves, and the scanner then checks
// that they follow each other at the right distances. For example aabb{2-4}cc?? has two parts:
//
//   part 1 of 2   aabb
//   part 2 of 2   cc??   2 to 4 bytes after the end of part 1
//
// Every part begins with two literal bytes, which the automaton needs.
#pragma once

#include <cstdint>
#include <string_view>

#include "store/load/TrieTree.h"

namespace STREAMENGINE_SPACE {

/// The properties that all parts of a signature share.
struct SignatureTraits {
    const char* name;    // not scrambled
    uint16_t type;       // file-type code of a built-in type signature, else 0
    const char* offset;  // see VQPattern; null for anywhere
    uint16_t targetType;
};

/// The number of a part in its signature, and the gap before it; all 0 for the only part of a
/// signature.
struct PartPosition {
    uint32_t sigid = 0;
    uint16_t parts = 0;
    uint16_t partno = 0;
    uint32_t minDistance = 0;  // bytes from the end of the part before
    uint32_t maxDistance = 0;  // bytes; 0 for no bound
};

class CompoundPatternLoader {
  public:
    /// Adds one signature, all its parts, to tree and counts it.
    /// @throws QLT_SPACE::Exception for a malformed signature. Parts before the refused one stay
    ///         in the tree; as their signature is never complete, they are never reported.
    static void parse(TrieTree& tree, const char* name, const char* hexsig, uint16_t type,
                      const char* offset, uint16_t targetType);

    /// Builds and adds one part.
    /// @throws QLT_SPACE::Exception for a malformed or too short part
    static void parseAdd(TrieTree& tree, const SignatureTraits& traits, std::string_view part,
                         const PartPosition& position);
};

}  // namespace STREAMENGINE_SPACE
