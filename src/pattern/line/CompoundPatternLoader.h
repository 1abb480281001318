// CompoundPatternLoader: cuts a body signature into its parts and builds their records.
//
// The notation, in hexadecimal digits of either case:
//   two digits     one literal byte
//   ??             any byte; what stands behind the "?" is not looked at
//   (aa|bb|...)    one byte out of at least two alternatives
//   *              a new part, at any distance behind the end of the one in front
//   {n}            a new part, n bytes behind that end; 0 is no bound, here and below
//   {n-m} {n-} {-m}  at least n and at most m bytes behind it
// Every part begins with two literal bytes.
#pragma once

#include <cstdint>
#include <string_view>

#include "store/load/TrieTree.h"

namespace STREAMENGINE_SPACE {

/// What the parts of a signature have in common.
struct SignatureTraits {
    const char* name;    // not scrambled
    uint16_t type;       // file-type code of a built-in type signature, else 0
    const char* offset;  // see VQPattern; null for anywhere
    uint16_t targetType;
};

/// One part's place in its signature; all 0 for the only part.
struct PartPlace {
    uint32_t sigid = 0;
    uint16_t parts = 0;
    uint16_t partno = 0;
    uint32_t minDistance = 0;
    uint32_t maxDistance = 0;
};

class CompoundPatternLoader {
  public:
    /// Adds one signature, all its parts, to tree and counts it.
    /// @throws QLT_SPACE::Exception for a malformed signature. Parts in front of the refused one
    ///         stay in the tree, where they can never complete.
    static void parse(TrieTree& tree, const char* name, const char* hexsig, uint16_t type,
                      const char* offset, uint16_t targetType);

    /// Builds and adds one part.
    /// @throws QLT_SPACE::Exception for a malformed or too short part
    static void parseAdd(TrieTree& tree, const SignatureTraits& traits, std::string_view part,
                         const PartPlace& place);
};

}  // namespace STREAMENGINE_SPACE
