// Type signatures: the built-in tags. A text stream that contains one of them is markup.
#pragma once

#include "store/load/TrieTree.h"

namespace STREAMENGINE_SPACE {

constexpr uint16_t kTypeMarkup = 525;  // the file-type code of all of them

/// Adds the type signatures to a tree. They are matched against the normalised stream.
/// @throws QLT_SPACE::Exception if memory runs out
void addTypeSignatures(TrieTree& tree);

}  // namespace STREAMENGINE_SPACE
